#!/usr/bin/env python3
"""make_sign_names.py SIGNS.TSV CLDR_FOLDER OUTPUT: writes the names of signs as C++.

The names are those of the table, and for all other signs the spoken names of Unicode's common
locale data. Each language has one string of lines, "sign, tab, name", in the order of the signs'
bytes, and the positions of the lines. So the library prepares nothing, and reads nothing before a
name is needed."""
import pathlib
import sys
import unicodedata
import xml.etree.ElementTree as ElementTree

SKIN_TONES = {chr(point) for point in range(0x1F3FB, 0x1F400)}
VARIATION_SELECTOR = "\uFE0F"
# Bullets, frames and blocks: they divide a text and say nothing.
DRAWN = range(0x2500, 0x25FD)


def is_spoken(sign):
    """False for punctuation, letters and variants of signs: nobody wants to hear their names."""
    if SKIN_TONES & set(sign) or ord(sign[0]) in DRAWN or ord(sign[0]) < 0x80 and len(sign) == 1:
        return False
    return unicodedata.category(sign[0]).startswith("S") or len(sign) > 1


def published_names(cldr, language):
    names = {}
    for folder in ("annotations", "annotationsDerived"):
        file = cldr / folder / f"{language}.xml"
        for annotation in ElementTree.parse(file).getroot().iter("annotation"):
            if annotation.get("type") == "tts" and is_spoken(annotation.get("cp")):
                names[annotation.get("cp").replace(VARIATION_SELECTOR, "")] = annotation.text
    return names


def own_names(table):
    lines = [line for line in table.read_text().splitlines() if line and not line.startswith("# ")]
    languages = lines[0].split("\t")[1:]
    names = {language: {} for language in languages}
    for line in lines[1:]:
        sign, *words = line.split("\t")
        if len(words) != len(languages):
            raise SystemExit(f"{table}: {sign!r} has {len(words)} names, not {len(languages)}")
        for language, word in zip(languages, words):
            names[language][sign] = word
    return names


def literal(text):
    """A C++ string of bytes, in pieces that any compiler takes."""
    escaped = "".join(f"\\{byte:03o}" if byte < 32 or byte > 126 or byte in b'"\\?' else chr(byte)
                      for byte in text.encode())
    return f'"{escaped}"'


def main(table, cldr, output):
    languages = own_names(pathlib.Path(table))
    parts = []
    rows = []
    for language, own in sorted(languages.items()):
        names = {**published_names(pathlib.Path(cldr), language), **own}
        lines = sorted((f"{sign}\t{name}\n" for sign, name in names.items()),
                       key=lambda line: line.split("\t")[0].encode())
        begins, place = [], 0
        for line in lines:
            begins.append(place)
            place += len(line.encode())
        parts.append(f"constexpr char lines_{language}[] =\n"
                     + "\n".join("  " + literal(line) for line in lines) + ";\n"
                     f"constexpr std::uint32_t begins_{language}[] = "
                     f"{{{','.join(map(str, begins))}}};\n")
        rows.append(f'  {{"{language}", {{lines_{language}, sizeof lines_{language} - 1}}, '
                    f'begins_{language}, {len(begins)}}},\n')
    text = "".join(parts) + "constexpr Names allNames[] = {\n" + "".join(rows) + "};\n"
    pathlib.Path(output).write_text(text)


main(*sys.argv[1:])
