"""Rectangles of whole pixels, and projective maps of the plane."""
from __future__ import annotations

from collections.abc import Iterable, Sequence
from typing import Any, NamedTuple

from ._library import check, ffi, lib

Point = tuple[float, float]


class Rect(NamedTuple):
    """A rectangle in pixels; right and bottom lie just outside it."""

    left: int
    top: int
    right: int
    bottom: int

    @classmethod
    def at(cls, x: int, y: int, width: int, height: int) -> Rect:
        """The rectangle of a size at a place."""
        return cls(x, y, x + width, y + height)

    @classmethod
    def _of(cls, record: Any) -> Rect:
        return cls(record.left, record.top, record.right, record.bottom)

    def _record(self) -> Any:
        return ffi.new("RECT*", tuple(self))

    @property
    def width(self) -> int:
        """right - left."""
        return int(lib.V_Rect_Width(self._record()))

    @property
    def height(self) -> int:
        """bottom - top."""
        return int(lib.V_Rect_Height(self._record()))

    def __bool__(self) -> bool:
        """Whether there is a pixel in it."""
        return lib.V_Rect_IsEmpty(self._record()) == 0

    def __and__(self, other: Rect) -> Rect:
        """What both have in common."""
        result = ffi.new("RECT*")
        lib.V_Rect_Intersect(result, self._record(), other._record())
        return Rect._of(result)

    def __or__(self, other: Rect) -> Rect:
        """The smallest rectangle around both."""
        result = ffi.new("RECT*")
        check(lib.V_Rect_Union(result, self._record(), other._record()))
        return Rect._of(result)

    def __contains__(self, what: object) -> bool:
        """Whether a point (x, y), or a whole rectangle, is inside."""
        if isinstance(what, Rect):
            return lib.V_Rect_ContainsRect(self._record(), what._record()) == 1
        point: Any = what
        return lib.V_Rect_ContainsPoint(self._record(), point[0], point[1]) == 1

    def inflated(self, dx: int, dy: int) -> Rect:
        """With all edges moved outwards, or inwards by negative numbers."""
        record = self._record()
        check(lib.V_Rect_Inflate(record, dx, dy))
        return Rect._of(record)

    def moved(self, dx: int, dy: int) -> Rect:
        """At another place."""
        record = self._record()
        check(lib.V_Rect_Offset(record, dx, dy))
        return Rect._of(record)

    def normalized(self) -> Rect:
        """With edges that are the wrong way round exchanged."""
        record = self._record()
        check(lib.V_Rect_Normalize(record))
        return Rect._of(record)


def points_record(points: Iterable[Point], count: int = 0) -> Any:
    """Points as the library takes them; ValueError when `count` is given and they are not so many."""
    pairs = [(float(x), float(y)) for x, y in points]
    if count and len(pairs) != count:
        raise ValueError(f"{count} points are needed, not {len(pairs)}")
    return ffi.new("V_POINTD[]", pairs)


class Matrix:
    """A projective map: (x, y) goes to (x, y, 1) times the matrix. It does not change; a @ b does a and then b."""

    __slots__ = ("_record",)

    def __init__(self, rows: Sequence[Sequence[float]] | None = None) -> None:
        self._record: Any = ffi.new("V_MATRIX*")
        if rows is None:
            check(lib.V_Matrix_Identity(self._record))
            return
        if len(rows) != 3 or any(len(row) != 3 for row in rows):
            raise ValueError("a matrix has three rows of three numbers")
        self._record.m = [[float(value) for value in row] for row in rows]

    @classmethod
    def from_corners(cls, corners: Iterable[Point], to: Iterable[Point]) -> Matrix:
        """The map that takes four points to four others."""
        made = cls()
        check(lib.V_Matrix_FromCorners(made._record, points_record(corners, 4), points_record(to, 4)))
        return made

    @property
    def rows(self) -> tuple[tuple[float, ...], ...]:
        """The three rows of three numbers."""
        return tuple(tuple(row) for row in self._record.m)

    def __matmul__(self, then: Matrix) -> Matrix:
        made = Matrix()
        check(lib.V_Matrix_Multiply(made._record, self._record, then._record))
        return made

    def inverse(self) -> Matrix:
        """The map back; VkValueError when there is none."""
        made = Matrix()
        check(lib.V_Matrix_Invert(made._record, self._record))
        return made

    @property
    def determinant(self) -> float:
        """The determinant of the nine numbers."""
        result = ffi.new("double*")
        check(lib.V_Matrix_Determinant(self._record, result))
        return float(result[0])

    @property
    def is_identity(self) -> bool:
        """Whether it leaves every point where it is."""
        return lib.V_Matrix_IsIdentity(self._record) == 1

    @property
    def is_affine(self) -> bool:
        """Whether parallels stay parallel."""
        return lib.V_Matrix_IsAffine(self._record) == 1

    def _with(self, function: Any, *arguments: Any) -> Matrix:
        made = Matrix(self.rows)
        check(function(made._record, *arguments))
        return made

    def translated(self, dx: float, dy: float) -> Matrix:
        """And then moved."""
        return self._with(lib.V_Matrix_Translate, dx, dy)

    def scaled(self, x: float, y: float) -> Matrix:
        """And then scaled about the origin."""
        return self._with(lib.V_Matrix_Scale, x, y)

    def sheared(self, x: float, y: float) -> Matrix:
        """And then sheared about the origin."""
        return self._with(lib.V_Matrix_Shear, x, y)

    def rotated(self, degrees: float) -> Matrix:
        """And then turned clockwise about the origin; hundredths of a degree count."""
        return self._with(lib.V_Matrix_Rotate, round(degrees * 100))

    def transform(self, point: Point) -> Point:
        """Where a point goes; VkValueError for one that goes to infinity."""
        record = ffi.new("V_POINTD*", (float(point[0]), float(point[1])))
        check(lib.V_Matrix_TransformPoint(self._record, record))
        return record.x, record.y

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Matrix) and self.rows == other.rows

    def __hash__(self) -> int:
        return hash(self.rows)

    def __repr__(self) -> str:
        return f"Matrix({[list(row) for row in self.rows]})"


__all__ = ["Matrix", "Point", "Rect"]
