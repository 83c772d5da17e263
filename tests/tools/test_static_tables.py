"""The page tables and the generated text table must need no global
constructor: a UEFI image runs none, so a table that the compiler decides to
build at run time would simply stay zero. Compiles each table source for the
UEFI target and for the host and looks for constructor sections."""

import glob
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
TABLE_SOURCES = sorted(glob.glob(os.path.join(ROOT, "setup_data", "*_page_table.cpp")))

# Sections through which the compilers run initialisers at start-up.
CONSTRUCTOR_SECTIONS = (".init_array", ".ctors", ".CRT$XCU")


def sections(objdump, obj):
    out = subprocess.run([objdump, "-h", obj], capture_output=True, text=True, check=True).stdout
    return {line.split()[1] for line in out.splitlines()
            if line.strip() and line.split()[0].isdigit() and len(line.split()) > 1}


class StaticTablesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp(prefix="static_tables_")
        texts = sorted(glob.glob(os.path.join(ROOT, "setup_data", "texts", "*.txt")))
        subprocess.run([sys.executable, os.path.join(ROOT, "tools", "gen_texts.py"),
                        "--out-dir", cls.dir] + texts, check=True)
        cls.sources = TABLE_SOURCES + [os.path.join(cls.dir, "text_table_data.cpp")]

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.dir, ignore_errors=True)

    def check(self, compiler_command):
        objdump = shutil.which("objdump")
        if objdump is None or shutil.which(compiler_command[0]) is None:
            self.skipTest("%s or objdump not available" % compiler_command[0])
        self.assertTrue(TABLE_SOURCES)
        for source in self.sources:
            with self.subTest(os.path.basename(source)):
                obj = os.path.join(self.dir, os.path.basename(source) + ".o")
                subprocess.run(compiler_command + ["-std=c++20", "-O0", "-I", ROOT, "-I", self.dir,
                                                   "-c", source, "-o", obj],
                               check=True, capture_output=True)
                found = sections(objdump, obj) & set(CONSTRUCTOR_SECTIONS)
                self.assertFalse(found, "%s needs a global constructor" % source)

    def test_uefi_objects_have_no_constructors(self):
        self.check(["clang++", "--target=x86_64-unknown-windows", "-ffreestanding",
                    "-fno-exceptions", "-fno-rtti", "-mno-red-zone"])

    def test_host_objects_have_no_constructors(self):
        self.check(["g++", "-fno-exceptions", "-fno-rtti"])


if __name__ == "__main__":
    unittest.main()
