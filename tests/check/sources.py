"""The files that the checks look at, and how a check reports."""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def listed_files(root):
    """Paths, relative to root, of the files that are or would be tracked; without a git checkout,
    of all files but those of build trees."""
    git = subprocess.run(["git", "-C", str(root), "ls-files", "-coz", "--exclude-standard"],
                         capture_output=True, check=False)
    if git.returncode == 0:
        names = {pathlib.PurePosixPath(name) for name in git.stdout.decode().split("\0") if name}
        return sorted(name for name in names if (root / name).is_file())
    return sorted(pathlib.PurePosixPath(path.relative_to(root))
                  for path in root.rglob("*")
                  if path.is_file()
                  and not {"build", ".git", "__pycache__"} & set(path.relative_to(root).parts))


def source_files(root, *suffixes):
    return [name for name in listed_files(root) if name.suffix in suffixes]


def text_of(root, name):
    """The file's text; of a file that is no text, nothing."""
    try:
        return (root / name).read_text(encoding="utf-8")
    except UnicodeDecodeError:
        return ""


def report(messages):
    """Prints the messages and ends the process: 0 when there are none."""
    for message in messages:
        print(message)
    sys.exit(1 if messages else 0)
