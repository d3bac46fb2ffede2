"""The build backend of the package (PEP 517): packs vectable/ into a wheel, with the standard library only."""

import base64
import hashlib
import pathlib
import tomllib
import zipfile

DIRECTORY = pathlib.Path(__file__).resolve().parent


def _metadata():
    project = tomllib.loads((DIRECTORY / "pyproject.toml").read_text())["project"]
    version = {}
    exec((DIRECTORY / "vectable/_version.py").read_text(), version)
    return project, version["__version__"]


def _write(path, files, project, version):
    """A wheel of (name, bytes), with its description and the list of hashes that the format asks for."""
    directory = f"{project['name']}-{version}.dist-info"
    heading = [
        "Metadata-Version: 2.1",
        f"Name: {project['name']}",
        f"Version: {version}",
        f"Summary: {project['description']}",
        f"Requires-Python: {project['requires-python']}",
    ]
    tags = ["Wheel-Version: 1.0", "Generator: vectable", "Root-Is-Purelib: true", "Tag: py3-none-any"]
    files = [*files, (f"{directory}/METADATA", "\n".join(heading).encode() + b"\n")]
    files.append((f"{directory}/WHEEL", "\n".join(tags).encode() + b"\n"))
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as wheel:
        record = ""
        for name, content in files:
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            record += f"{name},sha256={digest},{len(content)}\n"
            wheel.writestr(name, content)
        wheel.writestr(f"{directory}/RECORD", record + f"{directory}/RECORD,,\n")


def _build(wheel_directory, files):
    project, version = _metadata()
    name = f"{project['name']}-{version}-py3-none-any.whl"
    _write(pathlib.Path(wheel_directory) / name, files, project, version)
    return name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    modules = sorted([*DIRECTORY.glob("vectable/*.py"), DIRECTORY / "vectable/py.typed"])
    return _build(wheel_directory, [(f"vectable/{path.name}", path.read_bytes()) for path in modules])


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return _build(wheel_directory, [("vectable.pth", f"{DIRECTORY}\n".encode())])
