"""Reads CHANGELOG.md, which is kept in the Keep a Changelog form.

A version's section starts at its heading, "## [1.2.0] - 2026-11-23" (the brackets and the
date may be left out), and runs up to the next second-level heading or the link references
at the foot of the file. The release scripts take two things from it: the section's Markdown
as it is (the notes of the GitHub release) and its items as plain lines (the notes of the
update feed, which Quelto shows one per line under "What’s new:").
"""

import re

_VERSION_HEADING = re.compile(r"^##\s+\[?([^\]\s]+)\]?(\s.*)?$")
_LINK_REFERENCE = re.compile(r"^\[[^\]]+\]:\s")
_LIST_ITEM = re.compile(r"^(\s*)[-*+]\s+(.*)$")


class ChangelogError(Exception):
    """A changelog that cannot give what was asked of it; the message says why."""


def read(path):
    try:
        with open(path, encoding="utf-8") as f:
            return f.read()
    except OSError as error:
        raise ChangelogError(f"cannot read {path}: {error.strerror}") from None
    except UnicodeDecodeError:
        raise ChangelogError(f"{path} is not UTF-8 text") from None


def section(text, version, name="CHANGELOG.md"):
    """The lines of `version`'s section, without its heading and surrounding blank lines."""
    lines = text.splitlines()
    start = None
    for i, line in enumerate(lines):
        match = _VERSION_HEADING.match(line)
        if match and match.group(1) == version:
            start = i + 1
            break
    if start is None:
        raise ChangelogError(
            f'{name} has no section for {version}: add a heading "## [{version}] - YYYY-MM-DD" '
            "with the changes under it")
    end = len(lines)
    for i in range(start, len(lines)):
        if lines[i].startswith("## ") or _LINK_REFERENCE.match(lines[i]):
            end = i
            break
    body = lines[start:end]
    while body and not body[0].strip():
        body.pop(0)
    while body and not body[-1].strip():
        body.pop()
    if not any(line.strip() and not line.startswith("#") for line in body):
        raise ChangelogError(f"{name}'s section for {version} is empty: write down what changed")
    return body


def plain(markdown):
    """One line of Markdown as plain text: links keep their words, emphasis and code marks go."""
    text = re.sub(r"!?\[([^\]]*)\]\([^)]*\)", r"\1", markdown)
    text = re.sub(r"`([^`]*)`", r"\1", text)
    text = re.sub(r"(\*\*|__)(.+?)\1", r"\2", text)
    text = re.sub(r"(?<![\w*])\*(?!\s)(.+?)(?<!\s)\*(?![\w*])", r"\1", text)
    return " ".join(text.split())


def items(body):
    """The section's list items (and any plain paragraphs) as plain one-line notes, in order.

    Headings ("### Added") are left out; an item's continuation lines join it with a space.
    """
    notes = []
    current = None
    for line in body:
        item = _LIST_ITEM.match(line)
        if item:
            if current is not None:
                notes.append(current)
            current = item.group(2)
        elif not line.strip() or line.startswith("#"):
            if current is not None:
                notes.append(current)
            current = None
        elif current is not None:
            current += " " + line.strip()
        else:
            current = line.strip()
    if current is not None:
        notes.append(current)
    return [note for note in (plain(n) for n in notes) if note]
