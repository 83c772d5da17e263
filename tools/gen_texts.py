#!/usr/bin/env python3
"""Builds the multilingual text table from setup_data/texts/*.txt.

    python3 tools/gen_texts.py --out-dir DIR FILES...

Reads every text source, validates it and writes

  DIR/setup_data/text_entries.h   one `extern TextEntry <Id>;` per entry
  DIR/setup_data/text_constants.h every entry again as a constant triple
                                  kText_<Id>[3] (English, Japanese, French),
                                  for code outside the utility (the reference
                                  platform's password gate) that cannot link
                                  the table; only what it uses lands in its image
  DIR/text_table_data.cpp         the entries (zero-initialised, so they cost
                                  the image nothing), one constant UTF-16 pack
                                  of every non-empty slot, a table of
                                  (entry, slot lengths) rows and
                                  Quorvex_TextTable_Init, which expands the
                                  pack into the slots.

Source format, one block per entry:

    # comment
    [MainSystemTime]
    en = "System Time"
    ja = "システム時刻"
    fr = "Heure système"
    fr += " (suite)"

Values are double-quoted; the escapes are \\" \\\\ \\n and \\uXXXX (one
UTF-16 code unit, e.g. \\u00A0 for a no-break space). `xx += "..."`
appends to the slot already opened for that language in the same block. An
omitted language is an empty slot; the English slot must not be empty.

Rules checked (any failure stops the build with FILE:LINE: [Id] message):
  - ids are C++ identifiers and unique over all files;
  - a slot holds at most 899 UTF-16 code units (a character outside the
    basic plane counts as two), leaving room for the terminating NUL;
  - tab marks are well formed: "%x" or "%X" must be followed by at least one
    decimal digit; the mark is the digits up to the first non-digit. A "%x"
    followed by anything else is rejected, because the drawer would either
    draw it literally (a typo) or take a character from ':' to '@' as the
    start of a mark without a number. A '%' not followed by x/X is an
    ordinary character, except as the very last character of a slot;
  - every non-empty slot of an entry carries the same sequence of mark values,
    so the translations break and align the same way as the English text.
"""

import argparse
import os
import re
import sys

SLOT_UNITS = 900  # per slot, including the terminating NUL
MAX_UNITS = SLOT_UNITS - 1
LANGUAGES = ("en", "ja", "fr")
LANGUAGE_NAMES = {"en": "English", "ja": "Japanese", "fr": "French"}

_ID_RE = re.compile(r"^\[([^\]]*)\]\s*$")
_CPP_ID_RE = re.compile(r"^[A-Za-z_][A-Za-z0-9_]*$")
_ASSIGN_RE = re.compile(r"^([A-Za-z]+)\s*(\+?=)\s*(.*)$")
_CPP_KEYWORDS = frozenset(
    "alignas alignof and and_eq asm auto bitand bitor bool break case catch char char8_t "
    "char16_t char32_t class compl concept const consteval constexpr constinit const_cast "
    "continue co_await co_return co_yield decltype default delete do double dynamic_cast "
    "else enum explicit export extern false float for friend goto if inline int long "
    "mutable namespace new noexcept not not_eq nullptr operator or or_eq private protected "
    "public register reinterpret_cast requires return short signed sizeof static "
    "static_assert static_cast struct switch template this thread_local throw true try "
    "typedef typeid typename union unsigned using virtual void volatile wchar_t while xor "
    "xor_eq".split())


class TextError(Exception):
    """A validation failure; str() is the message the build prints."""

    def __init__(self, path, line, entry_id, message):
        self.path = path
        self.line = line
        self.entry_id = entry_id
        where = "%s:%d" % (path, line)
        if entry_id:
            where += ": [%s]" % entry_id
        super().__init__("%s: %s" % (where, message))


class Entry:
    def __init__(self, entry_id, path, line):
        self.id = entry_id
        self.path = path
        self.line = line
        self.slots = {}  # language -> text
        self.slot_lines = {}  # language -> line of its first assignment

    def text(self, language):
        return self.slots.get(language, "")


def utf16_units(text):
    return len(text.encode("utf-16-le")) // 2


def _parse_quoted(raw, path, line, entry_id):
    """Parses one double-quoted value; nothing but blanks may follow it."""
    if not raw.startswith('"'):
        raise TextError(path, line, entry_id, "value must be a double-quoted string")
    out = []
    i = 1
    while i < len(raw):
        c = raw[i]
        if c == "\\":
            if i + 1 >= len(raw):
                break
            e = raw[i + 1]
            if e == '"':
                out.append('"')
            elif e == "\\":
                out.append("\\")
            elif e == "n":
                out.append("\n")
            elif e == "u":
                digits = raw[i + 2:i + 6]
                if len(digits) != 4 or any(d not in "0123456789abcdefABCDEF" for d in digits):
                    raise TextError(path, line, entry_id,
                                    "'\\u' needs four hexadecimal digits")
                code = int(digits, 16)
                if 0xD800 <= code <= 0xDFFF or code == 0:
                    raise TextError(path, line, entry_id,
                                    "'\\u%s' is not a character" % digits)
                out.append(chr(code))
                i += 6
                continue
            else:
                raise TextError(path, line, entry_id, "unknown escape '\\%s'" % e)
            i += 2
            continue
        if c == '"':
            rest = raw[i + 1:].strip()
            if rest:
                raise TextError(path, line, entry_id,
                                "unexpected text after the closing quote: %r" % rest)
            return "".join(out)
        if ord(c) < 0x20 or ord(c) == 0x7F:
            raise TextError(path, line, entry_id,
                            "control character U+%04X in a value (use \\n for a line break)"
                            % ord(c))
        out.append(c)
        i += 1
    raise TextError(path, line, entry_id, "missing closing quote")


def parse_file(path, text=None):
    """Returns the entries of one source file, in file order."""
    if text is None:
        with open(path, encoding="utf-8") as f:
            text = f.read()
    entries = []
    current = None
    seen_here = {}
    for number, raw_line in enumerate(text.splitlines(), start=1):
        line = raw_line.strip()
        if not line or line.startswith("#"):
            continue
        header = _ID_RE.match(line)
        if header:
            entry_id = header.group(1).strip()
            if not _CPP_ID_RE.match(entry_id) or entry_id in _CPP_KEYWORDS:
                raise TextError(path, number, entry_id or None,
                                "entry id %r is not a C++ identifier" % entry_id)
            if entry_id in seen_here:
                raise TextError(path, number, entry_id,
                                "duplicate entry id (first defined at line %d)"
                                % seen_here[entry_id])
            seen_here[entry_id] = number
            current = Entry(entry_id, path, number)
            entries.append(current)
            continue
        if line.startswith("["):
            raise TextError(path, number, current.id if current else None,
                            "malformed entry header %r" % line)
        assign = _ASSIGN_RE.match(line)
        if not assign:
            raise TextError(path, number, current.id if current else None,
                            "expected [Id], 'xx = \"...\"' or 'xx += \"...\"'")
        if current is None:
            raise TextError(path, number, None, "text outside an entry (no [Id] above)")
        language, operator, value = assign.groups()
        if language not in LANGUAGES:
            raise TextError(path, number, current.id,
                            "unknown language %r (use en, ja or fr)" % language)
        value = _parse_quoted(value, path, number, current.id)
        if operator == "=":
            if language in current.slots:
                raise TextError(path, number, current.id,
                                "%s slot already set at line %d (use += to append)"
                                % (language, current.slot_lines[language]))
            current.slots[language] = value
            current.slot_lines[language] = number
        else:
            if language not in current.slots:
                raise TextError(path, number, current.id,
                                "'%s +=' without a preceding '%s ='" % (language, language))
            current.slots[language] += value
    return entries


def tab_marks(text):
    """Returns the tab-mark values of a text, in order, or raises ValueError
    with a description of the first malformed mark."""
    marks = []
    i = 0
    n = len(text)
    while i < n:
        if text[i] != "%":
            i += 1
            continue
        if i + 1 >= n:
            raise ValueError("lone '%' at the end of the text")
        if text[i + 1] not in "xX":
            i += 1
            continue
        j = i + 2
        while j < n and text[j].isascii() and text[j].isdigit():
            j += 1
        if j == i + 2:
            follower = repr(text[j]) if j < n else "the end of the text"
            raise ValueError("malformed tab mark at offset %d: '%s' followed by %s "
                             "instead of decimal digits" % (i, text[i:i + 2], follower))
        marks.append(int(text[i + 2:j]))
        i = j
    return marks


def validate(entries):
    """Checks every entry; raises TextError on the first problem."""
    seen = {}
    for entry in entries:
        if entry.id in seen:
            first = seen[entry.id]
            raise TextError(entry.path, entry.line, entry.id,
                            "duplicate entry id (first defined at %s:%d)"
                            % (first.path, first.line))
        seen[entry.id] = entry
        if not entry.text("en"):
            raise TextError(entry.path, entry.line, entry.id, "the English slot is empty")
        reference = None
        for language in LANGUAGES:
            text = entry.text(language)
            if not text:
                continue
            line = entry.slot_lines[language]
            units = utf16_units(text)
            if units > MAX_UNITS:
                raise TextError(entry.path, line, entry.id,
                                "%s slot has %d UTF-16 code units (at most %d)"
                                % (LANGUAGE_NAMES[language], units, MAX_UNITS))
            if "\0" in text:
                raise TextError(entry.path, line, entry.id,
                                "%s slot contains a NUL" % LANGUAGE_NAMES[language])
            try:
                marks = tab_marks(text)
            except ValueError as error:
                raise TextError(entry.path, line, entry.id,
                                "%s slot: %s" % (LANGUAGE_NAMES[language], error))
            if reference is None:
                reference = (language, marks)
            elif marks != reference[1]:
                raise TextError(entry.path, line, entry.id,
                                "%s slot has the tab marks %s, %s slot has %s"
                                % (LANGUAGE_NAMES[language], _show_marks(marks),
                                   LANGUAGE_NAMES[reference[0]], _show_marks(reference[1])))


def _show_marks(marks):
    return "[" + " ".join("%%x%d" % m for m in marks) + "]" if marks else "none"


def load(paths):
    entries = []
    for path in paths:
        entries.extend(parse_file(path))
    validate(entries)
    return entries


# ---- Output -----------------------------------------------------------------

HEADER_NOTE = "// Generated by tools/gen_texts.py from setup_data/texts/*.txt. Do not edit.\n"


def _cpp_literal_body(text):
    """The text as the inside of a u"" literal: printable ASCII as is,
    everything else as universal character names."""
    out = []
    for c in text:
        code = ord(c)
        if c == "\\":
            out.append("\\\\")
        elif c == '"':
            out.append('\\"')
        elif c == "?":
            out.append("\\?")  # no trigraph can form
        elif c == "\n":
            out.append("\\n")
        elif 0x20 <= code < 0x7F:
            out.append(c)
        elif code < 0x20 or code == 0x7F:
            out.append("\\%03o" % code)
        elif code <= 0xFFFF:
            out.append("\\u%04X" % code)
        else:
            out.append("\\U%08X" % code)
    return "".join(out)


def render_header(entries):
    lines = [HEADER_NOTE,
             "// The text table's entries; include setup_data/text_table.h to use them.\n",
             "#pragma once\n\n",
             '#include "platform/efi.h"\n\n',
             "struct TextEntry;\n\n",
             "// Size of the table, for tests and the build report.\n",
             "extern const UINTN kTextTableEntryCount;\n",
             "extern const UINTN kTextTablePackUnits;\n",
             "// Every entry, in source order (kTextTableEntryCount of them).\n",
             "extern TextEntry* const kTextTableEntries[];\n\n"]
    for entry in entries:
        lines.append("extern TextEntry %s;\n" % entry.id)
    return "".join(lines)


def render_source(entries):
    total = 0
    pack_lines = []
    rows = []
    for entry in entries:
        lengths = []
        for language in LANGUAGES:
            text = entry.text(language)
            units = utf16_units(text)
            lengths.append(units)
            total += units
            if text:
                pack_lines.append('    u"%s"  // %s %s\n'
                                  % (_cpp_literal_body(text), entry.id, language))
        rows.append("    {&%s, {%d, %d, %d}},\n" % (entry.id, lengths[0], lengths[1], lengths[2]))
    out = [HEADER_NOTE,
           '#include "setup_data/text_table.h"\n',
           '#include "platform/lib.h"\n\n',
           "// The entries live in zero-initialised data: the image carries only the\n",
           "// packed texts below, and Quorvex_TextTable_Init expands them.\n"]
    for entry in entries:
        out.append("TextEntry %s;\n" % entry.id)
    out.append("\nnamespace {\n\n")
    out.append("// Every non-empty slot, in entry order (English, Japanese, French), without\n")
    out.append("// terminators.\n")
    out.append("constexpr CHAR16 kTextPack[] =\n")
    if pack_lines:
        out.extend(pack_lines)
    else:
        out.append('    u""\n')
    out.append("    ;\n")
    out.append("static_assert(sizeof(kTextPack) / sizeof(CHAR16) == %d + 1);\n\n" % total)
    out.append("struct PackedEntry {\n")
    out.append("  TextEntry* Entry;\n")
    out.append("  UINT16 Length[3];  // English, Japanese, French, in code units\n")
    out.append("};\n\n")
    out.append("constexpr PackedEntry kPackedEntries[] = {\n")
    out.extend(rows)
    if not rows:
        out.append("    {nullptr, {0, 0, 0}},\n")
    out.append("};\n\n")
    out.append("void ExpandSlot(CHAR16* Slot, UINTN& Offset, UINT16 Length) {\n")
    out.append("  MemCopy(Slot, &kTextPack[Offset], Length * sizeof(CHAR16));\n")
    out.append("  MemFill(Slot + Length, 0, (kTextSlotUnits - Length) * sizeof(CHAR16));\n")
    out.append("  Offset += Length;\n")
    out.append("}\n\n")
    out.append("}  // namespace\n\n")
    out.append("const UINTN kTextTableEntryCount = %d;\n" % len(entries))
    out.append("const UINTN kTextTablePackUnits = %d;\n\n" % total)
    out.append("TextEntry* const kTextTableEntries[] = {\n")
    out.extend("    &%s,\n" % entry.id for entry in entries)
    if not entries:
        out.append("    nullptr,\n")
    out.append("};\n\n")
    out.append("// Writes every slot completely (text, then zeros), so running it again\n")
    out.append("// gives the same table.\n")
    out.append("void Quorvex_TextTable_Init() {\n")
    out.append("  UINTN Offset = 0;\n")
    out.append("  for (const PackedEntry& Row : kPackedEntries) {\n")
    out.append("    if (Row.Entry == nullptr) continue;\n")
    out.append("    ExpandSlot(Row.Entry->English, Offset, Row.Length[0]);\n")
    out.append("    ExpandSlot(Row.Entry->Japanese, Offset, Row.Length[1]);\n")
    out.append("    ExpandSlot(Row.Entry->French, Offset, Row.Length[2]);\n")
    out.append("  }\n")
    out.append("}\n")
    return "".join(out)


def render_constants(entries):
    lines = [HEADER_NOTE,
             "// Every entry of the text table as a constant triple (English, Japanese,\n",
             "// French), for images that do not link the table itself.\n",
             "#pragma once\n\n",
             '#include "platform/efi.h"\n\n']
    for entry in entries:
        slots = ", ".join('u"%s"' % _cpp_literal_body(entry.text(language))
                          for language in LANGUAGES)
        lines.append("inline constexpr const CHAR16* kText_%s[3] = {%s};\n" % (entry.id, slots))
    return "".join(lines)


def _write_if_changed(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    try:
        with open(path, encoding="utf-8") as f:
            if f.read() == content:
                return
    except FileNotFoundError:
        pass
    tmp = path + ".tmp"
    with open(tmp, "w", encoding="utf-8", newline="\n") as f:
        f.write(content)
    os.replace(tmp, path)


def generate(paths, out_dir):
    entries = load(paths)
    _write_if_changed(os.path.join(out_dir, "setup_data", "text_entries.h"),
                      render_header(entries))
    _write_if_changed(os.path.join(out_dir, "setup_data", "text_constants.h"),
                      render_constants(entries))
    _write_if_changed(os.path.join(out_dir, "text_table_data.cpp"), render_source(entries))
    return entries


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--out-dir", help="where the generated files go")
    parser.add_argument("--check", action="store_true",
                        help="validate only, write nothing")
    parser.add_argument("files", nargs="+", help="text sources (setup_data/texts/*.txt)")
    args = parser.parse_args(argv)
    if not args.check and not args.out_dir:
        parser.error("--out-dir is required unless --check is given")
    try:
        if args.check:
            load(args.files)
        else:
            generate(args.files, args.out_dir)
    except TextError as error:
        print("gen_texts: error: %s" % error, file=sys.stderr)
        return 1
    except (OSError, UnicodeDecodeError) as error:
        print("gen_texts: error: %s" % error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
