/**
 * @file Geometry.hpp
 * Colours, points, rectangles and maps of the plane. Each is the record of the C interface with functions, so that it
 * goes wherever that is wanted. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_GEOMETRY_HPP
#define VKKRNX_GEOMETRY_HPP

#include "Constants.hpp"

#include <span>

namespace vk {
inline namespace VKKRNX_ABI {

/// A colour as the C interface passes it: red, green and blue, a palette index, or a gray level.
class Color {
public:
    /// Black.
    constexpr Color() noexcept = default;
    /// What a COLORREF says.
    constexpr explicit Color(COLORREF value) noexcept : value_(value) {}
    /// A colour of three channels.
    constexpr Color(std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept
        : value_(static_cast<COLORREF>(red | green << 8 | blue << 16))
    {}
    /// An index of a palette.
    [[nodiscard]] static constexpr Color index(std::uint8_t index) noexcept { return Color(0x01000000u | index); }
    /// A gray level.
    [[nodiscard]] static constexpr Color gray(std::uint8_t level) noexcept
    {
        return Color(0x04000000u | static_cast<COLORREF>(level) << 8);
    }

    /// The value for the C interface.
    [[nodiscard]] constexpr COLORREF value() const noexcept { return value_; }
    /// The red channel.
    [[nodiscard]] constexpr std::uint8_t red() const noexcept { return static_cast<std::uint8_t>(value_); }
    /// The green channel.
    [[nodiscard]] constexpr std::uint8_t green() const noexcept { return static_cast<std::uint8_t>(value_ >> 8); }
    /// The blue channel.
    [[nodiscard]] constexpr std::uint8_t blue() const noexcept { return static_cast<std::uint8_t>(value_ >> 16); }
    /// Whether two values are the same.
    friend constexpr bool operator==(Color, Color) noexcept = default;

private:
    COLORREF value_ = 0;
};

/// A place in pixels, x to the right and y downwards.
struct Point : V_POINTD {
    /// The origin, or a place.
    constexpr explicit Point(double at_x = 0, double at_y = 0) noexcept : V_POINTD{at_x, at_y} {}
};

/// A rectangle of pixels whose right and bottom lie just outside it.
struct Rect : RECT {
    /// An empty one.
    constexpr Rect() noexcept : RECT{0, 0, 0, 0} {}
    /// By its edges.
    constexpr Rect(std::int32_t first_x, std::int32_t first_y, std::int32_t end_x, std::int32_t end_y) noexcept
        : RECT{first_x, first_y, end_x, end_y}
    {}
    /// What a RECT says.
    constexpr Rect(const RECT& rect) noexcept : RECT(rect) {} // NOLINT(google-explicit-constructor)
    /// By its first pixel and its size, as far as 32 bits go.
    [[nodiscard]] static Rect at(std::int32_t col, std::int32_t row, std::int32_t width, std::int32_t height) noexcept
    {
        Rect rect(0, 0, width, height);
        V_Rect_Offset(&rect, col, row);
        return rect;
    }

    /// Whether it holds no pixel.
    [[nodiscard]] bool empty() const noexcept { return V_Rect_IsEmpty(this) != 0; }
    /// right - left.
    [[nodiscard]] std::int64_t width() const noexcept { return V_Rect_Width(this); }
    /// bottom - top.
    [[nodiscard]] std::int64_t height() const noexcept { return V_Rect_Height(this); }
    /// Whether a pixel is in it.
    [[nodiscard]] bool contains(std::int32_t x, std::int32_t y) const noexcept
    {
        return V_Rect_ContainsPoint(this, x, y) != 0;
    }
    /// Whether another one, which is not empty, is in it as a whole.
    [[nodiscard]] bool contains(const Rect& inner) const noexcept { return V_Rect_ContainsRect(this, &inner) != 0; }
    /// What two have in common; empty at the origin where that is nothing.
    [[nodiscard]] Rect intersected(const Rect& other) const noexcept
    {
        Rect common;
        V_Rect_Intersect(&common, this, &other);
        return common;
    }
    /// The smallest one around both; empty ones do not count.
    [[nodiscard]] Rect united(const Rect& other) const noexcept
    {
        Rect both;
        V_Rect_Union(&both, this, &other);
        return both;
    }
    /// With its edges moved outwards.
    [[nodiscard]] Rect inflated(std::int32_t dx, std::int32_t dy) const noexcept
    {
        Rect larger(*this);
        V_Rect_Inflate(&larger, dx, dy);
        return larger;
    }
    /// Moved.
    [[nodiscard]] Rect moved(std::int32_t dx, std::int32_t dy) const noexcept
    {
        Rect there(*this);
        V_Rect_Offset(&there, dx, dy);
        return there;
    }
    /// Whether all edges are equal.
    friend bool operator==(const Rect& a, const Rect& b) noexcept { return V_Rect_Equal(&a, &b) != 0; }
};

/// A rectangle of doubles whose right and bottom lie just outside it.
struct RectD : V_RECTD {
    /// An empty one.
    constexpr RectD() noexcept : V_RECTD{0, 0, 0, 0} {}
    /// By its edges.
    constexpr RectD(double first_x, double first_y, double end_x, double end_y) noexcept
        : V_RECTD{first_x, first_y, end_x, end_y}
    {}
    /// The same in doubles.
    constexpr RectD(const Rect& rect) noexcept // NOLINT(google-explicit-constructor)
        : V_RECTD{static_cast<double>(rect.left), static_cast<double>(rect.top), static_cast<double>(rect.right),
                  static_cast<double>(rect.bottom)}
    {}
    /// A rectangle of whole numbers (V_RectD_ToRect).
    [[nodiscard]] Rect rounded(Rounding rounding = Rounding::nearest, Report report = {}) const
    {
        Rect whole;
        report(V_RectD_ToRect(this, &whole, static_cast<std::uint32_t>(value_of(rounding))));
        return whole;
    }
};

/// A projective map of the plane (V_MATRIX). Functions that add something do so behind what the map does.
struct Matrix : V_MATRIX {
    /// Leaves every point where it is.
    constexpr Matrix() noexcept : V_MATRIX{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}} {}
    /// What a V_MATRIX says.
    constexpr Matrix(const V_MATRIX& matrix) noexcept : V_MATRIX(matrix) {} // NOLINT(google-explicit-constructor)
    /// The map that takes four points to four others (V_Matrix_FromCorners).
    [[nodiscard]] static Matrix from_corners(std::span<const Point, 4> from, std::span<const Point, 4> to,
                                             Report report = {})
    {
        Matrix matrix;
        report(V_Matrix_FromCorners(&matrix, from.data(), to.data()));
        return matrix;
    }

    /// Adds a translation.
    Matrix& translate(double dx, double dy, Report report = {})
    {
        report(V_Matrix_Translate(this, dx, dy));
        return *this;
    }
    /// Adds a scaling about the origin.
    Matrix& scale(double dx, double dy, Report report = {})
    {
        report(V_Matrix_Scale(this, dx, dy));
        return *this;
    }
    /// Adds a shear about the origin.
    Matrix& shear(double dx, double dy, Report report = {})
    {
        report(V_Matrix_Shear(this, dx, dy));
        return *this;
    }
    /// Adds a turn about the origin, in hundredths of a degree clockwise.
    Matrix& rotate(std::int32_t angle, Report report = {})
    {
        report(V_Matrix_Rotate(this, angle));
        return *this;
    }
    /// What this does, and then what another does.
    [[nodiscard]] Matrix then(const Matrix& next, Report report = {}) const
    {
        Matrix product;
        report(V_Matrix_Multiply(&product, this, &next));
        return product;
    }
    /// The map back.
    [[nodiscard]] Matrix inverted(Report report = {}) const
    {
        Matrix back;
        report(V_Matrix_Invert(&back, this));
        return back;
    }
    /// The determinant.
    [[nodiscard]] double determinant(Report report = {}) const
    {
        double result = 0;
        report(V_Matrix_Determinant(this, &result));
        return result;
    }
    /// Whether each element is the identity's.
    [[nodiscard]] bool is_identity() const noexcept { return V_Matrix_IsIdentity(this) != 0; }
    /// Whether parallels stay parallels.
    [[nodiscard]] bool is_affine() const noexcept { return V_Matrix_IsAffine(this) != 0; }
    /// Where a point goes.
    [[nodiscard]] Point transformed(Point point, Report report = {}) const
    {
        report(V_Matrix_TransformPoint(this, &point));
        return point;
    }
    /// Carries points over.
    void transform(std::span<Point> points, Report report = {}) const
    {
        report(V_Matrix_TransformPoints(this, points.data(), static_cast<std::uint32_t>(points.size())));
    }
    /// The box around what becomes of a rectangle.
    [[nodiscard]] RectD transformed(RectD rect, Report report = {}) const
    {
        report(V_Matrix_TransformRect(this, &rect));
        return rect;
    }
};

static_assert(sizeof(Point) == sizeof(V_POINTD) && sizeof(Rect) == sizeof(RECT) && sizeof(Matrix) == sizeof(V_MATRIX));

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_GEOMETRY_HPP
