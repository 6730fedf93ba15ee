"""Builds the package's wheel, for pip: without network, setuptools or anything else but Python itself.

A wheel carries the shared library beside the package, and is then for this system only, when the environment variable
VKKRNX_LIBRARY names it while the wheel is built. What pip is told of the package stands in pyproject.toml."""
import base64
import csv
import hashlib
import io
import os
import pathlib
import re
import sysconfig
import tarfile
import tomllib
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
EPOCH = (1980, 1, 1, 0, 0, 0)  # so that the same sources give the same wheel


def _project():
    project = tomllib.loads((HERE / "pyproject.toml").read_text(encoding="utf-8"))["project"]
    text = (HERE / "vkkrnx" / "__init__.py").read_text(encoding="utf-8")
    return project, re.search(r'^__version__ = "([^"]+)"', text, re.M)[1]


def _metadata():
    project, version = _project()
    lines = ["Metadata-Version: 2.1", f"Name: {project['name']}", f"Version: {version}",
             f"Summary: {project['description']}", f"License: {project['license']['text']}",
             f"Requires-Python: {project['requires-python']}"]
    lines += [f"Requires-Dist: {need}" for need in project["dependencies"]]
    for extra, needs in project["optional-dependencies"].items():
        lines.append(f"Provides-Extra: {extra}")
        lines += [f'Requires-Dist: {need}; extra == "{extra}"' for need in needs]
    return "\n".join(lines) + "\n"


def _library():
    """The shared library to carry along, and its name beside the package; None for none."""
    given = os.environ.get("VKKRNX_LIBRARY")
    if not given:
        return None
    path = pathlib.Path(given).resolve()
    return path, "Vkkrnx.dll" if path.suffix.lower() == ".dll" else "libVkkrnx.so.1"


def _tag():
    if not _library():
        return "py3-none-any"
    return "py3-none-" + re.sub(r"[-.]", "_", sysconfig.get_platform())


def _info_folder():
    project, version = _project()
    return f"{project['name']}-{version}.dist-info"


def _info_files():
    purelib = "true" if not _library() else "false"
    wheel = f"Wheel-Version: 1.0\nGenerator: vkkrnx backend\nRoot-Is-Purelib: {purelib}\nTag: {_tag()}\n"
    return {"METADATA": _metadata(), "WHEEL": wheel}


def _sources():
    return sorted(path for path in (HERE / "vkkrnx").rglob("*") if path.suffix in (".py", ".typed"))


def _write_wheel(directory, files):
    """A wheel of name -> bytes, and the list of its contents."""
    project, version = _project()
    info = _info_folder()
    files |= {f"{info}/{name}": text.encode() for name, text in _info_files().items()}
    table = io.StringIO()
    rows = csv.writer(table, lineterminator="\n")
    for name, data in files.items():
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        rows.writerow([name, f"sha256={digest}", len(data)])
    rows.writerow([f"{info}/RECORD", "", ""])
    files[f"{info}/RECORD"] = table.getvalue().encode()
    name = f"{project['name']}-{version}-{_tag()}.whl"
    with zipfile.ZipFile(os.path.join(directory, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        for file, data in files.items():
            entry = zipfile.ZipInfo(file, EPOCH)
            entry.external_attr = 0o644 << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            wheel.writestr(entry, data)
    return name


def get_requires_for_build_wheel(config_settings=None):
    return []


def get_requires_for_build_editable(config_settings=None):
    return []


def get_requires_for_build_sdist(config_settings=None):
    return []


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    folder = pathlib.Path(metadata_directory) / _info_folder()
    folder.mkdir()
    for name, text in _info_files().items():
        (folder / name).write_text(text, encoding="utf-8")
    return folder.name


prepare_metadata_for_build_editable = prepare_metadata_for_build_wheel


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    files = {path.relative_to(HERE).as_posix(): path.read_bytes() for path in _sources()}
    library = _library()
    if library:
        files["vkkrnx/" + library[1]] = library[0].read_bytes()
    return _write_wheel(wheel_directory, files)


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return _write_wheel(wheel_directory, {"vkkrnx.pth": f"{HERE}\n".encode()})


def build_sdist(sdist_directory, config_settings=None):
    project, version = _project()
    base = f"{project['name']}-{version}"
    with tarfile.open(os.path.join(sdist_directory, base + ".tar.gz"), "w:gz") as archive:
        for path in [HERE / "pyproject.toml", HERE / "backend.py", *_sources()]:
            archive.add(path, f"{base}/{path.relative_to(HERE).as_posix()}")
        data = _metadata().encode()
        entry = tarfile.TarInfo(f"{base}/PKG-INFO")
        entry.size = len(data)
        archive.addfile(entry, io.BytesIO(data))
    return base + ".tar.gz"
