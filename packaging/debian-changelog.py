#!/usr/bin/env python3
"""Writes the Debian changelog of the package from the releases of the
AppStream metadata, newest first, so that the release notes live in one place.

Usage: debian-changelog.py METAINFO PACKAGE MAINTAINER OUTPUT
"""
import datetime
import email.utils
import sys
import textwrap
import xml.etree.ElementTree as ElementTree


def paragraphs(release):
    description = release.find("description")
    if description is None:
        return ["Release " + release.get("version") + "."]
    texts = []
    for element in description.iter():
        if element.tag in ("p", "li") and element.text:
            texts.append(" ".join(element.text.split()))
    return texts


def main(metainfo, package, maintainer, output):
    entries = []
    for release in ElementTree.parse(metainfo).getroot().iterfind("releases/release"):
        day = datetime.date.fromisoformat(release.get("date"))
        when = datetime.datetime(day.year, day.month, day.day, 12, tzinfo=datetime.timezone.utc)
        lines = [f"{package} ({release.get('version')}) unstable; urgency=medium", ""]
        for text in paragraphs(release):
            lines += textwrap.wrap(text, 78, initial_indent="  * ", subsequent_indent="    ")
        lines += ["", f" -- {maintainer}  {email.utils.format_datetime(when)}", ""]
        entries.append("\n".join(lines))
    if not entries:
        sys.exit(f"{metainfo} lists no release")
    with open(output, "w", encoding="utf-8") as out:
        out.write("\n".join(entries))


if __name__ == "__main__":
    main(*sys.argv[1:])
