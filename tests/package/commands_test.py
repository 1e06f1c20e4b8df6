"""Holds the manual pages and the completion against what the commands say of themselves, and what
is told of the configuration and the log against the sources.

commands_test.py PACKAGING_FOLDER PROGRAM...
"""

import pathlib
import re
import subprocess
import sys
import unittest

PACKAGING, *PROGRAMS = [pathlib.Path(argument) for argument in sys.argv[1:]]
COMPLETION = (PACKAGING / "kavo.bash").read_text()
SOURCES = "".join(file.read_text() for file in PACKAGING.parent.glob("appliance/**/*.cpp"))


def help_of(*command):
    done = subprocess.run([*command, "--help"], capture_output=True, text=True, check=True)
    options = re.findall(r"^ +(-[\w-]+)(?:,(--[\w-]+))?", done.stdout, re.MULTILINE)
    commands = re.search(r"^Subcommands:\n((?: .*\n)+)", done.stdout, re.MULTILINE)
    names = re.findall(r"^  ([\w-]+)", commands.group(1), re.MULTILINE) if commands else []
    return {option for pair in options for option in pair if option}, names


def all_of(program):
    """The options and subcommands of a program, its subcommands' included."""
    options, names = help_of(program)
    seen = list(names)
    for name in names if program.name == "kavo" else []:  # the others' take names only
        more, below = help_of(program, name)
        options |= more
        seen += below
        for each in below:
            options |= help_of(program, name, each)[0]
    return options, seen


def in_page(option):
    return re.sub(r"^(-+)", lambda dashes: "Fl " * len(dashes.group(1)), option)


def complete(*words):
    """What is offered for the last word, where the command itself prints a table of two rows."""
    script = """source "$1"; shift
                kavo() { printf 'ID VERSION METHOD\\n71 2 create\\nKAVO.X 2 get\\n'; }
                COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kavo; echo "${COMPREPLY[@]}" """
    command = ["bash", "-c", script, "bash", PACKAGING / "kavo.bash", *words]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.split()


class Commands(unittest.TestCase):
    def test_a_page_names_every_option_and_subcommand(self):
        for program in PROGRAMS:
            page = next((PACKAGING / "man").glob(program.name + ".[18]")).read_text()
            options, names = all_of(program)
            self.assertIn("--help", options)
            for option in options:
                self.assertRegex(page, re.escape(in_page(option)) + r"\b", program.name)
            for name in names:
                self.assertRegex(page, r"(Ic|Cm)( task)? " + name + r"\b", program.name)

    def test_the_completion_knows_every_subcommand_and_option(self):
        program = next(program for program in PROGRAMS if program.name == "kavo")
        options, names = all_of(program)
        for word in {*options, *names} - {"-h"}:
            self.assertRegex(COMPLETION, r"(?<![\w-])" + re.escape(word) + r"(?![\w-])")
        self.assertEqual(complete("kavo", "st"), ["stop"])
        self.assertEqual(complete("kavo", "stop", "--"), ["--all"])
        self.assertEqual(complete("kavo", "task", "next", "--j"), ["--json"])
        self.assertEqual(complete("kavo", "sign-in-link", "--user", "roo"), ["root"])
        self.assertEqual(complete("kavo", "call", "K"), ["KAVO.X"])
        self.assertEqual(complete("kavo", "call", "KAVO.X", "2", "g"), ["get"])
        self.assertEqual(complete("kavo", "run", "7"), ["71"])
        self.assertEqual(complete("kavo", "call", "I"), [])
        self.assertIn("/usr/", [word + "/" for word in complete("kavo", "import", "/us")])

    def test_the_configuration_names_every_key_that_is_read(self):
        read = r'\b(?:setting|seconds|bytes|KavoConf::Def)\(\s*"(\w+)"'
        conf = (PACKAGING / "etc/kavo.conf").read_text()
        self.assertEqual(set(re.findall(r'^#(\w+)="', conf, re.MULTILINE)),
                         set(re.findall(read, SOURCES)))

    def test_the_document_for_operators_explains_every_line_of_the_log(self):
        document = (PACKAGING.parent / "docs/operations.md").read_text()
        lines = re.findall(r'syslog\([^;"]*"([^"]*)', SOURCES)
        self.assertGreater(len(lines), 20)
        for line in lines:
            words = max((part.strip(" :=\\") for part in re.split(r"%[a-z]+", line)), key=len)
            self.assertIn(words, document)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
