#!/usr/bin/env python3
"""Compiles and runs what a document shows: its fenced blocks, one after the other, in one scratch directory.

A document is a Markdown file, or a frame: a program (.c, .cpp) for the blocks of code in the comments of the public headers,
which are mostly too short to stand alone. A line "//! HEADER N" of a frame stands for block N of that header. Every block of
the headers (of *.h for a frame in C, of *.hpp for one in C++) must be used, and the frame must run, and succeed.

What becomes of a block depends on its language, the first word behind the fence:

  c, cpp          A complete program. It must compile without warnings. With a file name as second word it is stored
                  under that name, and built as the program of that name, unless a later block names the file and so
                  builds it itself; a later block must run it. Without a name it is run at once, and must succeed.
  cmake           A complete CMakeLists.txt: it is configured and built, in build/, with the files so far.
  sh, bash        A script, which must succeed.
  console         Commands behind "$ ", each of which must succeed, or have the exit status that a comment names
                  ("# ...: exit status 1"). Lines between commands are what they write.
  output          What the block in front has written. A line "..." stands for any lines, here and in a console.
  text, or none   Nothing.

A block with the second word "untested:" is not run; what follows says why. Other languages are refused, so that no block
goes untested by mistake. Commands find the built ozrz, and the library where it was installed for them. The links of the
document must lead to something, too.
"""

import argparse
import array
import bz2
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys

FENCE = re.compile(r"^( *)(`{3,}|~{3,})[ ]*([^\s`]*)[ ]*([^`]*)$")
LINK = re.compile(r"\]\(([^)\s]+)\)")
CUT_LINK = re.compile(r"^[^\[\]]*\]\(")
EXIT_STATUS = re.compile(r"#.*exit status (\d+)")
UNTESTED = "untested:"
PROGRAMS = {"c": "-std=c11", "cpp": "-std=c++20"}
SCRIPTS = {"sh", "bash"}
KNOWN = {*PROGRAMS, *SCRIPTS, "cmake", "console", "output", "text", ""}


class Failure(Exception):
    """A block that is not what it seems to be."""


class Block:
    def __init__(self, document, line, language, words, text):
        self.place = f"{document.name}:{line}"
        self.language = language
        self.words = words
        self.text = text
        self.built_later = False

    @property
    def untested(self):
        return self.words.startswith(UNTESTED)

    def fail(self, message):
        raise Failure(f"{self.place}: {message}")


def blocks_of(document):
    if document.suffix != ".md":
        return [framed(document)]
    blocks = []
    fence = None
    for number, line in enumerate(document.read_text().splitlines(), 1):
        match = FENCE.match(line)
        if fence is None:
            if match:
                fence = (number, len(match[1]), match[2], match[3], match[4].strip(), [])
        elif match and match[2].startswith(fence[2]) and not match[3]:
            start, _, _, language, words, lines = fence
            blocks.append(Block(document, start, language, words, "".join(text + "\n" for text in lines)))
            fence = None
        else:
            fence[5].append(line[min(fence[1], len(line) - len(line.lstrip())):])
    if fence is not None:
        raise Failure(f"{document.name}:{fence[0]}: the block does not end")
    return blocks


def header_blocks(header):
    """The blocks of code in the comments of a header, without what begins the lines of a comment."""
    blocks = re.findall(r"@code\n(.*?)[^\n]*@endcode", header.read_text(), re.DOTALL)
    return [re.sub(r"^ *(\*|///) ?", "", block, flags=re.MULTILINE) for block in blocks]


def framed(frame):
    include = frame.parents[3] / "include"
    language = frame.suffix[1:]
    unused = {}
    for header in sorted(include.rglob("*.h" if language == "c" else "*.hpp")):
        name = str(header.relative_to(include))
        unused.update({f"{name} {n}": text for n, text in enumerate(header_blocks(header), 1)})

    def block(match):
        if match[1] not in unused:
            raise Failure(f"{frame.name}: there is no block {match[1]}, or it was used before")
        return unused.pop(match[1])

    text = re.sub(r"^ *//! (.*)\n", block, frame.read_text(), flags=re.MULTILINE)
    if unused:
        raise Failure(f"{frame.name}: these blocks are not used: {', '.join(unused)}")
    return Block(frame, 1, language, "", text)


def check_links(document):
    inside = False
    for number, line in enumerate(document.read_text().splitlines(), 1):
        inside ^= FENCE.match(line) is not None
        if inside:
            continue
        if CUT_LINK.search(line):
            raise Failure(f"{document.name}:{number}: the text of a link begins in the line before, which the site does not take")
        for target in LINK.findall(line):
            path = target.split("#")[0]
            if path and "://" not in target and not (document.parent / path).exists():
                raise Failure(f"{document.name}:{number}: the link leads nowhere: {target}")


def agrees(shown, written):
    """Whether lines are those that are shown, where "..." stands for any number of them."""
    parts = [[re.escape(line.rstrip()) + "\n" for line in part] for part in split_at_dots(shown.splitlines())]
    pattern = "(?:.*\n)*".join("".join(part) for part in parts)
    return re.fullmatch(pattern, "".join(line.rstrip() + "\n" for line in written.splitlines())) is not None


def split_at_dots(lines):
    parts = [[]]
    for line in lines:
        if line.strip() == "...":
            parts.append([])
        else:
            parts[-1].append(line)
    return parts


def prepare_files(directory):
    """The files that the documents speak of."""
    lines = []
    for i in range(12000):
        lines.append(f"2026-03-{i // 1440 % 28 + 1:02d} {i // 60 % 24:02d}:{i % 60:02d} host{i * i % 7} service[{i * 37 % 1000}]: "
                     f"request {i} was answered in {i * 7919 % 97} ms\n")
    text = "".join(lines).encode()
    (directory / "big.log").write_bytes(text)
    (directory / "notes.txt").write_bytes(text[:20000])
    (directory / "photos").mkdir()
    (directory / "photos" / "one").write_bytes(text[:5000])
    (directory / "photos" / "two").write_bytes(text[5000:9000])
    damaged = bytearray(bz2.compress(text, 1))
    damaged[len(damaged) // 2] ^= 0xFF
    (directory / "broken.bz2").write_bytes(damaged)
    wave = [math.sin(0.061 * i) for i in range(128 + 128 + 64)]
    volume = array.array("f", (wave[x + y] + 0.4 * wave[z] * wave[x] for z in range(64) for y in range(128) for x in range(128)))
    (directory / "pressure.f32").write_bytes(volume.tobytes())


class Runner:
    def __init__(self, arguments, directory):
        self.arguments = arguments
        self.directory = directory
        self.installed = directory / "installed"
        self.environment = dict(os.environ, LC_ALL="C.UTF-8", CC=arguments.cc, CXX=arguments.cxx)
        self.written = None  # by the last block

    def run(self, command, **settings):
        return subprocess.run(command, cwd=self.directory, env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace", timeout=300,
                              check=False, **settings)

    def install(self):
        for component in ("runtime", "development"):
            subprocess.run(["cmake", "--install", self.arguments.build, "--component", component, "--prefix",
                            self.installed], check=True, stdout=subprocess.DEVNULL)
        libraries = str(next(self.installed.rglob("libozrdcy8.so")).parent)
        self.environment.update(
            LD_LIBRARY_PATH=libraries,
            PKG_CONFIG_PATH=libraries + "/pkgconfig",
            CMAKE_PREFIX_PATH=str(self.installed),
            PATH=f"{pathlib.Path(self.arguments.ozrz).parent}:{self.environment['PATH']}")
        self.include = ["-I", str(self.installed / "include")]
        self.link = ["-L", libraries, "-lozrdcy8", "-lm", "-pthread"]

    def do(self, block):
        if block.language not in KNOWN:
            block.fail(f"nobody knows how to test the language '{block.language}'")
        if block.untested:
            if not block.words[len(UNTESTED):].strip():
                block.fail("it is not said why this is untested")
            self.written = None
        elif block.language in PROGRAMS:
            self.program(block)
        elif block.language in SCRIPTS:
            self.written = self.expect(block, ["bash", "-euo", "pipefail", "-c", block.text], 0, "the script")
        elif block.language == "cmake":
            self.cmake(block)
        elif block.language == "console":
            self.console(block)
        elif block.language == "output":
            if self.written is None:
                block.fail("there is nothing in front that writes")
            if not agrees(block.text, self.written):
                block.fail("the output is another one:\n" + self.written)
            self.written = None
        else:
            self.written = None

    def expect(self, block, command, status, what):
        result = self.run(command)
        if result.returncode != status:
            block.fail(f"{what} has the exit status {result.returncode}, not {status}:\n{result.stdout}")
        return result.stdout

    def program(self, block):
        name = block.words or f"block.{block.language}"
        source = self.directory / name
        source.write_text(block.text)
        compiler = self.arguments.cc if block.language == "c" else self.arguments.cxx
        output = ["-fsyntax-only"] if block.built_later else ["-o", str(source.with_suffix("")), *self.link]
        built = self.run([compiler, PROGRAMS[block.language], "-O1", "-Wall", "-Wextra", "-Wshadow", "-Werror",
                          *self.include, str(source), *output])
        if built.returncode != 0:
            block.fail("the program does not compile:\n" + built.stdout)
        self.written = None
        if not block.words:
            self.written = self.expect(block, [str(source.with_suffix(""))], 0, "the program")

    def cmake(self, block):
        (self.directory / "CMakeLists.txt").write_text(block.text)
        self.expect(block, ["cmake", "-S", ".", "-B", "build", "-G", "Ninja"], 0, "the configuration")
        self.written = self.expect(block, ["cmake", "--build", "build"], 0, "the build")

    def console(self, block):
        self.written = None
        commands = []
        for line in block.text.splitlines(keepends=True):
            if line.startswith("$ "):
                commands.append([line[2:], ""])
            elif not commands:
                block.fail("a console begins with a command")
            else:
                commands[-1][1] += line
        for command, shown in commands:
            wanted = EXIT_STATUS.search(command)
            written = self.expect(block, ["bash", "-euo", "pipefail", "-c", command], int(wanted[1]) if wanted else 0,
                                  f"'{command.strip()}'")
            if shown and not agrees(shown, written):
                block.fail(f"'{command.strip()}' writes something else:\n{written}")


def check_names(blocks):
    """Programs that are not run at once are run by someone."""
    scripts = [block for block in blocks if block.language in SCRIPTS | {"console", "cmake"} and not block.untested]
    for i, block in enumerate(blocks):
        if block.language in PROGRAMS and block.words and not block.untested:
            stem = re.compile(r"\b" + re.escape(block.words.rsplit(".", 1)[0]) + r"\b")
            later = "".join(script.text for script in blocks[i + 1:] if script in scripts)
            if not stem.search(later):
                block.fail(f"no later block runs {block.words}")
            block.built_later = block.words in later


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("documents", nargs="+", type=pathlib.Path)
    parser.add_argument("--build", help="build directory, out of which the library is installed")
    parser.add_argument("--ozrz", help="the built command")
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--cxx", default="c++")
    parser.add_argument("--directory", type=pathlib.Path, help="scratch directory; it is emptied")
    parser.add_argument("--most-untested", type=int, metavar="N", help="only count the untested blocks: at most N")
    arguments = parser.parse_args()
    try:
        if arguments.most_untested is not None:
            untested = [block for document in arguments.documents for block in blocks_of(document) if block.untested]
            print("\n".join(f"{block.place}: {block.words}" for block in untested))
            if len(untested) > arguments.most_untested:
                raise Failure(f"{len(untested)} blocks are untested, more than {arguments.most_untested}")
            return 0
        (document,) = arguments.documents
        blocks = blocks_of(document)
        if document.suffix == ".md":
            check_links(document)
        check_names(blocks)
        shutil.rmtree(arguments.directory, ignore_errors=True)
        arguments.directory.mkdir(parents=True)
        runner = Runner(arguments, arguments.directory.resolve())
        if any(block.language not in {"", "text"} for block in blocks):
            prepare_files(runner.directory)
            runner.install()
        for block in blocks:
            runner.do(block)
        print(f"{document.name}: {sum(block.language in KNOWN - {'', 'text'} for block in blocks)} blocks are as they should be")
        return 0
    except Failure as failure:
        print(failure)
        return 1


if __name__ == "__main__":
    sys.exit(main())
