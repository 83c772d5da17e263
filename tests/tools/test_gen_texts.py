"""Tests of the text table generator: every rejection names the file, the line
and the entry, and an accepted source produces a table whose expansion gives
back exactly the source texts."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
GEN_TEXTS = os.path.join(ROOT, "tools", "gen_texts.py")

sys.path.insert(0, os.path.join(ROOT, "tools"))
import gen_texts  # noqa: E402  (found through the path above)


class SourceCase(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix="gen_texts_test_")

    def tearDown(self):
        shutil.rmtree(self.dir, ignore_errors=True)

    def write(self, name, content):
        path = os.path.join(self.dir, name)
        with open(path, "w", encoding="utf-8") as f:
            f.write(content)
        return path

    def run_tool(self, *files):
        return subprocess.run([sys.executable, GEN_TEXTS, "--out-dir",
                               os.path.join(self.dir, "out")] + list(files),
                              capture_output=True, text=True)

    def assertRejected(self, content, line, entry_id, fragment):
        """Loads one file and expects a TextError at (line, entry_id)."""
        path = self.write("case.txt", content)
        with self.assertRaises(gen_texts.TextError) as caught:
            gen_texts.load([path])
        message = str(caught.exception)
        self.assertIn("%s:%d:" % (path, line), message)
        if entry_id:
            self.assertIn("[%s]" % entry_id, message)
        self.assertIn(fragment, message)


class RejectionTest(SourceCase):
    def test_failure_stops_the_build_and_names_file_line_and_entry(self):
        path = self.write("bad.txt", '[Good]\nen = "A"\n\n[Bad]\nen = "50%"\n')
        result = self.run_tool(path)
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("%s:5: [Bad]" % path, result.stderr)
        self.assertFalse(os.path.exists(os.path.join(self.dir, "out", "text_table_data.cpp")))

    def test_slot_length_counts_utf16_units(self):
        astral = "\U0001F600"  # two code units
        cases = {
            "plain": ("a" * 900, "900 UTF-16 code units"),
            "surrogates": ("a" * 898 + astral, "900 UTF-16 code units"),
        }
        for name, (text, fragment) in cases.items():
            with self.subTest(name):
                self.assertRejected('[Long]\nen = "x"\nfr = "%s"\n' % text, 3, "Long", fragment)
        # Exactly at the limit, surrogate pair included, is accepted.
        path = self.write("ok.txt", '[Fits]\nen = "%s"\n' % ("a" * 897 + astral))
        self.assertEqual(gen_texts.utf16_units(gen_texts.load([path])[0].text("en")), 899)

    def test_duplicate_ids_across_files(self):
        first = self.write("first.txt", '[Shared]\nen = "a"\n')
        second = self.write("second.txt", '# other page\n[Shared]\nen = "b"\n')
        with self.assertRaises(gen_texts.TextError) as caught:
            gen_texts.load([first, second])
        self.assertIn("%s:2: [Shared]" % second, str(caught.exception))
        self.assertIn("first defined at %s:1" % first, str(caught.exception))

    def test_bad_syntax(self):
        cases = {
            "missing closing quote": ('[E]\nen = "open\n', 2, "E", "missing closing quote"),
            "unknown language": ('[E]\nen = "a"\nde = "b"\n', 3, "E", "unknown language 'de'"),
            "slot set twice": ('[E]\nen = "a"\nen = "b"\n', 3, "E", "already set at line 2"),
            "value outside an entry": ('en = "a"\n', 1, None, "outside an entry"),
            "id not an identifier": ('[Main Time]\nen = "a"\n', 1, None, "not a C++ identifier"),
            "control character": ('[E]\nen = "a\tb"\n', 2, "E", "control character"),
            "no English": ('[E]\nja = "a"\n', 1, "E", "English slot is empty"),
            "short \\u escape": ('[E]\nen = "a\\u0A"\n', 2, "E", "four hexadecimal digits"),
            "surrogate by \\u": ('[E]\nen = "a\\uD800b"\n', 2, "E", "not a character"),
            "id twice": ('[E]\nen = "a"\n[E]\nen = "b"\n', 3, "E",
                         "duplicate entry id (first defined at line 1)"),
            "letter after x": ('[E]\nen = "ok"\nja = "Move %xA here"\n', 3, "E",
                               "'%x' followed by 'A'"),
            "x at the end": ('[E]\nen = "ok"\nja = "Trailing %x"\n', 3, "E",
                             "followed by the end of the text"),
            "lone percent": ('[E]\nen = "ok"\nja = "Half 50%"\n', 3, "E", "lone '%' at the end"),
            "missing tab mark": ('[E]\nen = "A%x1000B"\nfr = "A B"\n', 3, "E", "tab marks"),
            "different tab mark": ('[E]\nen = "A%x220<On>"\nja = "A%x200<On>"\n', 3, "E",
                                   "tab marks"),
        }
        for name, (content, line, entry_id, fragment) in cases.items():
            with self.subTest(name):
                self.assertRejected(content, line, entry_id, fragment)


ACCEPTED_SOURCE = r'''# A comment line, then entries with every feature of the format.
[First]
en = "Say \"hi\" \\ there?%x1000Next"
ja = "システム%x1000時刻"

[Second]
en = "Col%x220<On>"
fr = "Colonne%x220<Activé> 50\u00A0% "
fr += "\U0001F600 fin"

[Third]
en = "Only English"
'''.replace("\\U0001F600", "\U0001F600")


class AcceptanceTest(SourceCase):
    def test_generated_table_expands_to_the_source_texts(self):
        compiler = shutil.which("g++")
        if compiler is None:
            self.skipTest("g++ not available")
        path = self.write("ok.txt", ACCEPTED_SOURCE)
        out = os.path.join(self.dir, "out")
        result = self.run_tool(path)
        self.assertEqual(result.returncode, 0, result.stderr)
        with open(os.path.join(out, "setup_data", "text_entries.h"), encoding="utf-8") as f:
            header = f.read()
        self.assertNotIn('#include "setup_data/text_table.h"', header)  # it includes us
        for name in ("First", "Second", "Third"):
            self.assertIn("extern TextEntry %s;" % name, header)

        # A harness that expands the table twice (after spoiling a slot) and
        # prints every slot as hex code units.
        harness = self.write("harness.cpp", r'''
#include <stdio.h>
#include <string.h>
#include "setup_data/text_table.h"
void MemCopy(void* D, const void* S, UINTN L) { memmove(D, S, L); }
void MemFill(void* B, UINT8 V, UINTN L) { memset(B, V, L); }
static void Dump(const char* Name, const CHAR16* Slot) {
  printf("%s", Name);
  UINTN n = 0;
  while (n < kTextSlotUnits && Slot[n] != 0) printf(" %04x", Slot[n++]);
  for (UINTN i = n; i < kTextSlotUnits; ++i) if (Slot[i] != 0) printf(" DIRTY");
  printf("\n");
}
int main() {
  Quorvex_TextTable_Init();
  for (UINTN i = 0; i < kTextSlotUnits; ++i) Second.French[i] = u'#';
  Quorvex_TextTable_Init();
  const TextEntry* All[] = {&First, &Second, &Third};
  const char* Names[] = {"First", "Second", "Third"};
  for (int e = 0; e < 3; ++e) {
    Dump(Names[e], All[e]->English);
    Dump(Names[e], All[e]->Japanese);
    Dump(Names[e], All[e]->French);
  }
  for (UINTN i = 0; i < kTextTableEntryCount; ++i)
    if (kTextTableEntries[i] != All[i]) printf("entry %lu out of order\n", (unsigned long)i);
  printf("%lu %lu\n", (unsigned long)kTextTableEntryCount, (unsigned long)kTextTablePackUnits);
  return 0;
}
''')
        binary = os.path.join(self.dir, "harness")
        build = subprocess.run(
            [compiler, "-std=c++20", "-Wall", "-Wextra", "-Werror", "-I", ROOT, "-I", out,
             harness, os.path.join(out, "text_table_data.cpp"), "-o", binary],
            capture_output=True, text=True)
        self.assertEqual(build.returncode, 0, build.stderr)
        run = subprocess.run([binary], capture_output=True, text=True)
        self.assertEqual(run.returncode, 0, run.stderr)

        entries = gen_texts.load([path])
        self.assertIn("50\u00a0% ", entries[1].text("fr"))  # the \\u escape
        expected = []
        total = 0
        for entry in entries:
            for language in gen_texts.LANGUAGES:
                data = entry.text(language).encode("utf-16-le")
                units = [int.from_bytes(data[i:i + 2], "little") for i in range(0, len(data), 2)]
                total += len(units)
                expected.append(" ".join([entry.id] + ["%04x" % u for u in units]))
        expected.append("3 %d" % total)
        self.assertEqual(run.stdout.splitlines(), expected)


if __name__ == "__main__":
    unittest.main()
