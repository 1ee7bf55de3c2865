#!/usr/bin/env python3
"""check_page PAGE PREFIX WORK: checks the code blocks and the links of a page, with the library
installed in PREFIX, in the scratch folder WORK.

The check of a code block depends on its language:

sh        runs it. A block with the tree's own commands (scripts/..., cmake --preset) would build
          the tree, so it is not run; only its scripts and presets must exist.
console   runs each "$ command" and compares its output with the lines below it; "..." matches any
          text. With status=N, the last command must exit with status N.
cpp       with file=NAME, appends it to that file, for a later sh block to build. Otherwise compiles
          it as a fragment in frames/host.cpp; frame=NAME names another frame.
cmake     writes it to its file=NAME
xml, json parses it; with file=NAME, also writes it to that file
mermaid   in a sequence diagram, the public headers must declare every function that is called;
          scripts/layers checks the graph
text      not checked; neither is a block without a language

Runs a comment "<!-- given: COMMAND -->" at its place in the page, to prepare what the reader has.
"""
import difflib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent.parent.parent
STEP = re.compile(
    r"^```(?P<info>[^\n]*)\n(?P<text>.*?)^```$|^<!-- given:(?P<given>.*?)-->",
    re.DOTALL | re.MULTILINE)
TREE_COMMAND = re.compile(
    r"^(\./)?(scripts|\.ci)/|^cmake --(preset|build --preset|install build/)"
    r"|^ctest --preset|^ln ")
LINK = re.compile(r"(?<!!)\[[^\]]*\]\(([^)\s]+)\)")
# A silent audio device.
AUDIO_DEVICE = 'pcm.!default { type null }\n'


class Wrong(Exception):
    """A mistake of the page."""


def environment(prefix, work, plain):
    kept = {name: os.environ[name] for name in ("PATH", "CMAKE_CXX_COMPILER_LAUNCHER")
            if name in os.environ}
    libraries = next(prefix.glob("lib*/**/libkqtts.so")).parent
    (plain / "audio.conf").write_text(AUDIO_DEVICE)
    return {
        **kept,
        "PATH": f"{prefix}/bin:{kept['PATH']}",
        "PREFIX": str(prefix),
        "TREE": str(TREE),
        "HOME": str(work),
        "LC_ALL": "C.UTF-8",
        "XDG_DATA_DIRS": str(work),
        "ALSA_CONFIG_PATH": str(plain / "audio.conf"),
        # Like a prefix that the system searches.
        "CMAKE_PREFIX_PATH": str(prefix),
        "PKG_CONFIG_PATH": str(libraries / "pkgconfig"),
        "LD_LIBRARY_PATH": str(libraries),
    }


class Page:
    def __init__(self, path, prefix, work, plain):
        self.path = path
        self.text = path.read_text()
        self.folder = work / "folder"
        self.prefix = prefix
        if " " in str(prefix):
            self.prefix = plain / "prefix"
            self.prefix.symlink_to(prefix)
        self.work = work
        self.environment = environment(self.prefix, work, plain)
        self.fragments = {}  # by frame

    def shell(self, script, status=0):
        result = subprocess.run(["bash", "-euo", "pipefail", "-c", script], cwd=self.folder,
                                env=self.environment, timeout=250, stdin=subprocess.DEVNULL,
                                capture_output=True, text=True)
        if result.returncode != status:
            raise Wrong(f"$ {script}\nended with {result.returncode}:\n"
                        f"{result.stdout}{result.stderr}")
        return result.stdout

    # One function for each language --------------------------------------------------------------

    def sh(self, text, attributes):
        commands = [line for line in re.sub(r"\\\n", " ", text).splitlines()
                    if line and not line.startswith("#")]
        if any(TREE_COMMAND.match(line) for line in commands):
            for line in commands:
                self.tree_command(line)
        else:
            self.shell(text)

    def tree_command(self, line):
        for word in shlex.split(line, comments=True):
            script = re.match(r"(\./|\.\./)*((scripts|\.ci)/[\w-]+)$", word)
            if script and not os.access(TREE / script[2], os.X_OK):
                raise Wrong(f"{line}\nThere is no {script[2]}")
        preset = re.search(r"--preset[ =]([\w-]+)", line)
        presets = json.loads((TREE / "CMakePresets.json").read_text())["configurePresets"]
        if preset and preset[1] not in [known["name"] for known in presets]:
            raise Wrong(f"{line}\nThere is no preset {preset[1]}")

    def console(self, text, attributes):
        steps = re.split(r"^\$ ", text, flags=re.MULTILINE)[1:]
        for number, step in enumerate(steps, 1):
            command, expected = re.fullmatch(
                r"((?:[^\n]*\\\n)*[^\n]*)\n(.*)", step, re.DOTALL).groups()
            status = int(attributes.get("status", 0)) if number == len(steps) else 0
            output = self.shell(command, status)
            pattern = re.escape(expected.rstrip()).replace(r"\.\.\.", ".*")
            if not re.fullmatch(pattern, output.rstrip(), re.DOTALL):
                difference = difflib.unified_diff(expected.splitlines(), output.splitlines(),
                                                  "the page", "written", lineterm="")
                raise Wrong(f"$ {command}\n" + "\n".join(difference))

    def cpp(self, text, attributes):
        if "file" not in attributes:
            self.fragments.setdefault(attributes.get("frame", "host"), []).append(text)

    def cmake(self, text, attributes):
        if "file" not in attributes:
            raise Wrong("A cmake block needs a file=NAME")

    def xml(self, text, attributes):
        try:
            ET.fromstring(text.encode())
        except ET.ParseError as error:
            raise Wrong(f"No XML: {error}\n{text}") from error

    def json(self, text, attributes):
        for document in text.splitlines() if text.count("\n{") else [text]:
            try:
                json.loads(document)
            except ValueError as error:
                raise Wrong(f"No JSON: {error}\n{document}") from error

    def mermaid(self, text, attributes):
        if not text.startswith("sequenceDiagram"):
            return
        headers = "".join(path.read_text()
                          for path in sorted((self.prefix / "include").rglob("*.hpp")))
        for name in re.findall(r"(\w+)\(", text):
            if not re.search(rf"\b{name}\(", headers):
                raise Wrong(f"The diagram calls {name}(), which no public header declares")

    def text_(self, text, attributes):
        pass

    def compile_fragments(self, name, fragments):
        frame = (HERE / f"frames/{name}.cpp").read_text()
        is_in_function = "  // fragments\n" in frame
        code = "".join(f"  {{\n{text}  }}\n" if is_in_function else text for text in fragments)
        source = self.work / f"{name}.cpp"
        source.write_text(re.sub(r" *// fragments\n", lambda _: code, frame))
        self.shell("g++ -std=c++17 -Wall -Werror -Wno-unused -fsyntax-only "
                   f"{shlex.quote(str(source))} $(pkg-config --cflags kqtts)")

    # ---------------------------------------------------------------------------------------------

    def follow(self, step):
        if step["given"] is not None:
            return self.shell(step["given"])
        language, *words = step["info"].split() or ["text"]
        attributes = dict(word.split("=", 1) for word in words)
        check = getattr(self, "text_" if language == "text" else language, None)
        if check is None:
            raise Wrong(f"Nobody checks blocks in {language}")
        if "file" in attributes:
            target = self.folder / attributes["file"]
            target.parent.mkdir(parents=True, exist_ok=True)
            with target.open("a") as file:
                file.write(step["text"])
        return check(step["text"], attributes)

    def check_blocks(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        for step in STEP.finditer(self.text):
            try:
                self.follow(step)
            except (Wrong, subprocess.TimeoutExpired) as error:
                line = self.text.count("\n", 0, step.start()) + 1
                raise Wrong(f"{self.path}:{line}: {error}") from error
        for name, fragments in self.fragments.items():
            self.compile_fragments(name, fragments)

    def check_links(self):
        for target in LINK.findall(STEP.sub("", self.text)):
            file, _, anchor = target.partition("#")
            if re.match(r"https?:|mailto:", target):
                continue
            path = self.path.parent / file if file else self.path
            if not path.exists() or (anchor and anchor not in anchors(path)):
                raise Wrong(f"{self.path}: the link to {target} leads nowhere")


def anchors(path):
    headings = re.findall(r"^#+ (.*)$", path.read_text(), re.MULTILINE)
    return [re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings]


def main(page, prefix, work):
    work = pathlib.Path(work)
    work.mkdir(parents=True, exist_ok=True)
    # A path without blanks: a shell cuts the output of pkg-config at each, ALSA its variable.
    with tempfile.TemporaryDirectory() as plain:
        try:
            page = Page(pathlib.Path(page), pathlib.Path(prefix), work, pathlib.Path(plain))
            page.check_links()
            page.check_blocks()
        except Wrong as wrong:
            print(wrong)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
