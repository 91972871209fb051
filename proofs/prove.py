#!/usr/bin/env python3
"""Runs proofs: every script of a family through Gappa, each once while its text stays the same.

  proofs/prove.py PROGRAMS [--families exp,ln] [--jobs N] [--record FILE]

PROGRAMS is the folder of the built proof programs. Fails where Gappa does, and where it assumes
anything silently. Prints the largest bound of each group; --record also writes what was shown, with
the hash of each script.
"""

import argparse
import collections
import concurrent.futures
import fractions
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import time

# What Gappa may say without assuming anything: a rule that it knows or can do without.
HARMLESS = re.compile(r"^Warning: (relation already known|no need for the rewriting|renaming identifier '\w+' as '\w+')"
                      r" at line \d+ column \d+$")
NUMBER = r"(-?\d+)(?:b(-?\d+))?"


class Script:
    def __init__(self, family, name):
        self.family, self.name, self.bounds, self.text = family, name, {}, ""

    def hash(self):
        return hashlib.sha256(self.text.encode()).hexdigest()


def scripts_of(program):
    """The scripts that a proof program prints."""
    output = subprocess.run([program, "print"], stdout=subprocess.PIPE, text=True, check=True).stdout
    scripts, current, complete = [], None, None
    for line in output.splitlines():
        if line.startswith("#script "):
            current = Script(program.name, line[8:])
        elif line.startswith("#bound "):
            _, name, label = line.split(" ", 2)
            current.bounds[name] = label
        elif line == "#end":
            scripts.append(current)
        elif line.startswith("#complete "):
            complete = int(line.split()[1])
        else:
            current.text += line + "\n"
    if complete != len(scripts):
        raise SystemExit(f"{program}: {len(scripts)} scripts, not {complete}")
    return scripts


def number(match):
    return fractions.Fraction(int(match[0])) * fractions.Fraction(2) ** int(match[1] or 0)


def judge(script, status, output):
    """The bounds that Gappa found, by label; or what is wrong."""
    said = [line for line in output.splitlines() if line.strip() and not HARMLESS.match(line)]
    wrong = [line for line in said if "Warning" in line or "Error" in line or "pointless" in line]
    if status != 0 or wrong:
        return None, "\n".join(said) or f"status {status}"
    found = {}
    # (Names of one expression are one for Gappa, which says so.)
    renamed = dict(re.findall(r"renaming identifier '(\w+)' as '(\w+)'", output))
    for name, label in script.bounds.items():
        while name in renamed:
            name = renamed[name]
        match = next((m for m in (re.match(rf"\s*{name} in \[{NUMBER}(?: \{{[^}}]*\}})?, {NUMBER}", s) for s in said) if m), None)
        if match is None:
            return None, f"no enclosure of {name} ({label})"
        groups = match.groups()
        found[label] = max(abs(number(groups[:2])), abs(number(groups[2:])))
    return found, None


def programs_in(folder):
    return sorted(p for p in folder.iterdir() if p.is_file() and os.access(p, os.X_OK) and p.name != "lemmas")


def run(script, cache):
    """What a script shows; kept by its text in a folder, unless that is None."""
    kept = cache / (script.hash() + ".gappa") if cache else None
    if kept and kept.exists():
        status, _, output = kept.read_text().partition("\n")
    else:
        done = subprocess.run(["gappa"], input=script.text, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        status, output = str(done.returncode), done.stdout
        if kept:
            part = kept.with_suffix(f".{os.getpid()}.{id(script)}")
            part.write_text(status + "\n" + output)
            part.rename(kept)
    return judge(script, int(status), output)


def upwards(value):
    """A fraction as a decimal that is not below it."""
    return f"{-((-value * 10**7) // 1) / 10**7:.7f}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("--families", help="names, with commas; all that are built otherwise")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--record", type=pathlib.Path)
    parser.add_argument("--only", help="scripts whose names match this expression: no proof then")
    parser.add_argument("--show", action="store_true", help="print the scripts that fail")
    arguments = parser.parse_args()
    cache = pathlib.Path(os.environ.setdefault("QELVM_PROOF_CACHE", str(arguments.programs / "cache"))).resolve()
    os.environ["QELVM_PROOF_CACHE"] = str(cache)
    cache.mkdir(parents=True, exist_ok=True)
    os.nice(10)
    families = arguments.families.split(",") if arguments.families else [p.name for p in programs_in(arguments.programs)]
    record, failed = [], 0
    for family in families:
        begin = time.time()
        scripts = [s for s in scripts_of(arguments.programs / family)
                   if not arguments.only or re.search(arguments.only, s.name)]
        with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
            results = list(pool.map(lambda s: run(s, cache), scripts))
        worst = collections.defaultdict(lambda: (fractions.Fraction(0), None))
        wrong = 0
        for script, (bounds, message) in zip(scripts, results):
            if message is not None:
                wrong += 1
                if wrong <= 5:
                    print(f"FAILED {family}: {script.name}\n{message}")
                    if arguments.show:
                        print(script.text)
                continue
            for label, bound in bounds.items():
                worst[label] = max(worst[label], (bound, script.name), key=lambda w: w[0])
            record.append(f"script {script.hash()[:32]} {family} {script.name}")
        failed += wrong
        print(f"{family}: {len(scripts)} scripts, {wrong} failed, {time.time() - begin:.1f} s")
        for label, (bound, name) in sorted(worst.items()):
            print(f"  {label}: {upwards(bound)} ({name})")
            record.append(f"bound {upwards(bound)} {label}")
            record.append(f"worst {next(s for s in scripts if s.name == name).hash()[:32]} {label}")
    if failed:
        sys.exit(f"{failed} scripts failed")
    if arguments.record and not arguments.only:
        arguments.record.write_text("".join(line + "\n" for line in sorted(record)))
        # What Sollya has answered, for check.py.
        answers = sorted(f"{path.stem} {' '.join(path.read_text().split())}" for path in cache.glob("*.answer"))
        arguments.record.with_name("answers.txt").write_text("".join(line + "\n" for line in answers))


if __name__ == "__main__":
    main()
