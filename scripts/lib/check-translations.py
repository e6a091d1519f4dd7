#!/usr/bin/env python3
"""Looks at the catalogues in po/: every language says every text, inserts what the English text inserts and no more, and
no text that reads like a sentence stands in the sources without being in the template.

Usage: check-translations.py TEMPLATE EVERYTHING ENGLISH-ONLY [LANGUAGE.po...]
EVERYTHING: the texts of all sources, as "xgettext --extract-all" finds them. ENGLISH-ONLY: those that stay English, and
sources all of whose texts do, one a line.
"""
import re
import string
import sys


def messages(path):
    """(context, singular, plural, translations, is marked as unsure, sources) of each entry but the header and those
    that are commented out."""
    with open(path, encoding="utf-8") as file:
        entries = re.split(r"\n\s*\n", file.read())
    for entry in entries:
        lines = [line for line in entry.splitlines() if not line.startswith("#~")]
        fields, name = {}, None
        for line in lines:
            found = re.match(r'(?:(msgctxt|msgid|msgid_plural|msgstr(?:\[\d+\])?) )?"(.*)"$', line)
            if found:
                name = found[1] or name
                fields[name] = fields.get(name, "") + found[2]
        if not fields.get("msgid"):
            continue
        yield (
            fields.get("msgctxt"),
            fields["msgid"],
            fields.get("msgid_plural"),
            [text for name, text in fields.items() if name.startswith("msgstr")],
            any(line.startswith("#,") and "fuzzy" in line for line in lines),
            " ".join(line[3:] for line in lines if line.startswith("#: ")),
        )


def inserted(text):
    """The names of what is inserted; fails with ValueError where it cannot be read."""
    return {name for _, name, _, _ in string.Formatter().parse(text) if name is not None}


def complaints_about(language, template):
    said = {}
    for context, singular, _, translations, is_unsure, _ in messages(language):
        said[context, singular] = (translations, is_unsure)
    for context, singular, plural, _, _, _ in messages(template):
        translations, is_unsure = said.pop((context, singular), ([""], False))
        if is_unsure:
            yield f"not sure of: {singular}"
        if not all(translations):
            yield f"not translated: {singular}"
            continue
        for text in translations:
            try:
                fits = inserted(text) == inserted(singular) | inserted(plural or "")
            except ValueError:
                fits = False
            if not fits:
                yield f"inserts something else than the English text: {text}"
    for _, singular in said:
        yield f"translates what nobody says: {singular}"


def reads_like_a_sentence(text):
    return re.match(r"[^A-Za-z]*[A-Z][a-z'’]*[ ,:.].*[A-Za-z]", text) is not None


def bypasses(template, everything, english_only):
    known = {text for _, one, several, _, _, _ in messages(template) for text in (one, several)}
    with open(english_only, encoding="utf-8") as file:
        excused = {line.rstrip("\n") for line in file if line.strip() and not line.startswith("#")}
    needless = set(excused)
    for _, text, _, _, _, sources in messages(everything):
        if text in known or not reads_like_a_sentence(text):
            continue
        needless.discard(text)
        needless -= set(sources.split())
        if text not in excused and not excused.issuperset(sources.split()):
            yield f"{sources}: bypasses the catalogue (or belongs into po/english-only): {text}"
    for text in sorted(needless):
        yield f"po/english-only excuses what needs no excuse: {text}"


def main():
    template, everything, english_only, *languages = sys.argv[1:]
    status = 0
    for language in languages:
        for complaint in complaints_about(language, template):
            print(f"translations: {language}: {complaint}", file=sys.stderr)
            status = 1
    for complaint in bypasses(template, everything, english_only):
        print(f"translations: {complaint}", file=sys.stderr)
        status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
