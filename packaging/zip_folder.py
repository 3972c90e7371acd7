"""zip_folder.py FOLDER EPOCH OUTPUT: packs FOLDER with its name; the same files give the same bytes."""

import pathlib
import sys
import time
import zipfile


def main(folder: pathlib.Path, epoch: int, output: pathlib.Path) -> None:
    date = time.gmtime(epoch)[:6]
    with zipfile.ZipFile(output, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for path in sorted(path for path in folder.rglob("*") if path.is_file()):
            entry = zipfile.ZipInfo(str(path.relative_to(folder.parent)), date)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            archive.writestr(entry, path.read_bytes())


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), int(sys.argv[2]), pathlib.Path(sys.argv[3]))
