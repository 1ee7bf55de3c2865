#!/usr/bin/env python3
"""check_page_test PREFIX WORK: tests that check_page.py finds the mistakes of a page."""
import contextlib
import io
import pathlib
import shutil
import sys
import unittest

import check_page

PREFIX, WORK = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
FENCE = "```"


def block(language, *lines):
    return "\n".join([FENCE + language, *lines, FENCE, ""])


class CheckPage(unittest.TestCase):
    def check(self, *parts):
        """The output for a page; None if it has no mistakes."""
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)
        page = WORK / "page.md"
        page.write_text("# A page\n\n" + "\n".join(parts))
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check_page.main(page, PREFIX, WORK / "work")
        return output.getvalue() if status else None

    def test_a_command_that_fails(self):
        self.assertIn(
            "page.md:5", self.check("Do:\n", block("sh", "true", "kqtts say --no-such-option")))

    def test_a_command_that_fails_within_a_pipe(self):
        self.assertIsNotNone(self.check(block("sh", "kqtts nonsense | cat")))

    def test_output_that_is_another(self):
        self.assertIn("-two", self.check(block("console", "$ echo one", "two")))

    def test_output_that_differs_after_dots(self):
        self.assertIsNotNone(self.check(block("console", "$ printf 'a\\nb\\n'", "...", "c")))
        self.assertIsNone(self.check(block("console", "$ printf 'a\\nb\\n'", "...", "b")))

    def test_each_of_several_commands(self):
        self.assertIn(
            "$ echo two", self.check(block("console", "$ echo one", "one", "$ echo two", "three")))

    def test_status_that_is_given(self):
        self.assertIsNone(self.check(block("console status=2", "$ kqtts say --no-such-option")))
        self.assertIsNotNone(self.check(block("console status=1", "$ true")))

    def test_code_that_does_not_compile(self):
        self.assertIn("noSuchOperation", self.check(block("cpp", "tts.noSuchOperation();")))

    def test_files_grow_from_block_to_block(self):
        pieces = block("cpp file=a.cpp", "one"), block("cpp file=a.cpp", "two")
        self.assertIsNone(self.check(*pieces, block("sh", "[ \"$(cat a.cpp)\" = $'one\\ntwo' ]")))

    def test_what_is_no_xml_and_no_json(self):
        self.assertIn("No XML", self.check(block("xml", "<a><b></a>")))
        self.assertIn("No JSON", self.check(block("json", "{'a': 1}")))

    def test_a_diagram_of_what_does_not_exist(self):
        diagram = "sequenceDiagram", "A->>B: initialize(packages)"
        self.assertIsNone(self.check(block("mermaid", *diagram)))
        self.assertIn(
            "initialise()", self.check(block("mermaid", *diagram, "A->>B: initialise(packages)")))

    def test_a_script_or_preset_that_is_not_there(self):
        self.assertIsNone(self.check(block("sh", "scripts/build release", "cmake --preset asan")))
        self.assertIn("scripts/compile", self.check(block("sh", "scripts/compile release")))
        self.assertIn("valgrind", self.check(block("sh", "cmake --preset valgrind")))

    def test_a_language_that_nobody_checks(self):
        self.assertIn("perl", self.check(block("perl", "print 1")))

    def test_links_that_lead_nowhere(self):
        self.assertIsNone(self.check("[here](page.md) and [above](#a-page)"))
        self.assertIn("other.md", self.check("[there](other.md)"))
        self.assertIn("#a-chapter", self.check("[below](#a-chapter)"))

    def test_what_is_given_runs_before(self):
        self.assertIsNone(self.check(
            "<!-- given: echo text > file -->", block("console", "$ cat file", "text")))
        self.assertIsNotNone(self.check("<!-- given: false -->"))


if __name__ == "__main__":
    unittest.main()
