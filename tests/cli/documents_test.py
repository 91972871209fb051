"""What the guide, the manual page and the completion say of the tool, compared with the tool itself:
documents_test.py TOOL"""

import os
import re
import subprocess
import sys
import tempfile
import unittest

SOURCE = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
TOOL = os.path.abspath(sys.argv[1])
ENVIRONMENT = {**os.environ, "PATH": f"{os.path.dirname(TOOL)}:{os.environ['PATH']}", "LC_ALL": "C"}


def text(path):
    with open(os.path.join(SOURCE, path), encoding="utf-8") as file:
        return file.read()


def run(command, **options):
    return subprocess.run(["bash", "-c", command], env=ENVIRONMENT, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=60, **options)


def option_names(document):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", document))


class Options(unittest.TestCase):
    def test_every_option_is_described_and_no_other(self):
        helps = "".join(run(f"qelvm {command} --help").stdout for command in ("", "list", "eval", "apply"))
        offered = option_names(helps)
        self.assertLessEqual({"--help", "--json", "--second", "--bad-rows"}, offered)
        manual = text("docs/man/qelvm.1").replace(r"\-", "-")
        self.assertEqual(option_names("\n".join(re.findall(r"^\.TP\n(.*)", manual, re.M))), offered)
        self.assertEqual(option_names(manual), offered)
        self.assertEqual(option_names(text("docs/command-line.md")), offered)


class Examples(unittest.TestCase):
    """Commands without their output, of which the guides have many, must at least succeed."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        for name, content in (("x.txt", "2\n"), ("y.txt", "4\n"), ("samples.f32", "\0" * 8),
                              ("data.csv", "t,mass,volume\n1,2,3\n"), ("table.csv", "1,2\n")):
            with open(os.path.join(self.folder, name), "w") as file:
                file.write(content)

    def test_transcripts(self):
        """`$ command` and what it prints, to the byte."""
        blocks = re.findall(r"^```\n\$ (.*)\n([^`]*)^```", text("docs/command-line.md"), re.M)
        self.assertGreater(len(blocks), 3)
        for command, output in blocks:
            self.assertEqual(run(command, cwd=self.folder).stdout, output, command)

    def test_commands(self):
        manual = text("docs/man/qelvm.1").replace(r"\-", "-")
        helps = [run(f"qelvm {command} --help").stdout for command in ("", "list", "eval", "apply")]
        for document in (text("docs/command-line.md"), re.search(r"\.EX\n(.*)\.EE", manual, re.S)[1], *helps):
            commands = re.findall(r"^ *((?:seq 1 10 \| )?qelvm (?:list|eval|apply).*)", document, re.M)
            # The synopsis has words in capitals; a remark stands behind several blanks.
            commands = [re.sub(" {3,}.*", "", c) for c in commands if not re.search(r"\b[A-Z]{4,}", c)]
            self.assertTrue(commands)
            for command in commands:
                done = run(command, cwd=self.folder)
                self.assertEqual(done.returncode, 0, (command, done.stdout))


class Completion(unittest.TestCase):
    def complete(self, line):
        """What bash would offer for the last word of the line."""
        words = line.split(" ")
        script = """
            . "$1"; shift
            COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
            complete -p qelvm > /dev/null && _qelvm && printf '%s\\n' "${COMPREPLY[@]}" """
        done = subprocess.run(["bash", "-uc", script, "bash", os.path.join(SOURCE, "apps/qelvm/qelvm.bash"),
                               *words], env=ENVIRONMENT, cwd=os.path.join(SOURCE, "apps"),
                              capture_output=True, text=True, timeout=20)
        self.assertEqual(done.stderr, "")
        return done.stdout.split()

    def test_words(self):
        exps = [f"Exp_{kind}" for kind in ("32f_A11", "32f_A21", "32f_A24", "64f_A50", "64f_A53")]
        for line, offered in (
            ("qelvm ", ["list", "eval", "apply"]), ("qelvm a", ["apply"]),
            ("qelvm eval Exp_", exps), ("qelvm apply --strict -i x Exp_64", exps[3:]),
            ("qelvm eval qelsExp_64", ["qels" + name for name in exps[3:]]),
            ("qelvm eval Exp_64f_A53 E", []), ("qelvm --library qe", ["qelvm"]),
            ("qelvm list --j", ["--json"]), ("qelvm --v", ["--version"]),
            ("qelvm apply --in", ["--input", "--in-place"]), ("qelvm eval --in", []),
            ("qelvm apply Exp_64f_A53 --input qe", ["qelvm"]),
            ("qelvm apply --bad-rows s", ["stop", "skip"]), ("qelvm apply --format r", ["raw"]),
        ):
            self.assertEqual(self.complete(line), offered, line)

    def test_every_option(self):
        for command in "list", "eval", "apply":
            helps = run(f"qelvm {command} --help").stdout.split("\n\n")
            options = next(part for part in helps if part.startswith("Options:"))
            self.assertEqual(set(self.complete(f"qelvm {command} --")),
                             option_names(re.sub("Excludes:.*", "", options)))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
