#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Packs a folder into a zip file whose bytes depend on the contents and SOURCE_DATE_EPOCH only.
Usage: make_zip.py FOLDER ZIP"""

import os
import pathlib
import sys
import time
import zipfile


def main():
    folder, target = map(pathlib.Path, sys.argv[1:])
    stamp = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
    with zipfile.ZipFile(target, "w") as archive:
        for path in sorted(p for p in folder.rglob("*") if p.is_file()):
            entry = zipfile.ZipInfo(str(path.relative_to(folder.parent)), stamp)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o755 if path.suffix in {".exe", ".dll"} else 0o644) << 16
            archive.writestr(entry, path.read_bytes())


if __name__ == "__main__":
    main()
