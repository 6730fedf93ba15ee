#!/usr/bin/env python3
"""Writes the manual pages and the bash completion of the vk command, from what its --help says: vk_manual.py --vk VK
FOLDER. Pages go to FOLDER/man1 (vk.1 and one for each command), the completion to FOLDER/completion/vk.

Whatever the help gains is in both after the next build; tests/tools/vk_manual_test.py holds them against the help."""
import argparse
import dataclasses
import itertools
import pathlib
import re
import subprocess


@dataclasses.dataclass
class Option:
    name: str
    value: str  # as the help calls it; empty for a flag
    description: str


@dataclasses.dataclass
class Command:
    name: str
    summary: str
    usage: list
    paragraphs: list
    options: list

    @property
    def is_operation(self):
        """Operations are the commands that can be steps of a chain."""
        return any("--pipe" in line for line in self.usage)


def option_of(line):
    """'  --size WxH   text': two spaces end what the user types, but where a long value leaves no room for them."""
    wide = re.fullmatch(r"  (-\S+)((?: \S+)*?) {2,}(\S.*)", line)
    name, value, text = (wide or re.fullmatch(r"  (-\S+)( \S+) (\S.*)", line)).groups()
    return Option(name, value.strip(), text)


def sections_of(text):
    """The help's paragraphs before the first heading, and its lines by heading ("Usage", "Options", ...)."""
    paragraphs, sections, lines = [], {}, None
    for line in text.splitlines():
        heading = re.fullmatch(r"(Usage|Commands|Options|Exit codes):(?: (.*))?", line)
        if heading:
            lines = sections[heading[1]] = [heading[2]] if heading[2] else []
        elif lines is None:
            paragraphs.append(line)
        elif line.strip():
            lines.append(line)
    return [p for p in "\n".join(paragraphs).split("\n\n") if p.strip()], sections


class Help:
    def __init__(self, vk):
        self.vk = vk
        self.version = self.said("--version").split()[1]
        paragraphs, sections = sections_of(self.said("--help"))
        self.summary = " ".join(paragraphs)
        self.options = [option_of(line) for line in sections["Options"]]
        self.exit_codes = re.findall(r"(\d+) ([^,.]+)", " ".join(sections["Exit codes"]))
        self.commands = [self.command(*line.split(maxsplit=1)) for line in sections["Commands"]]

    def said(self, *words):
        return subprocess.run([self.vk, *words], check=True, capture_output=True, text=True).stdout

    def command(self, name, summary):
        paragraphs, sections = sections_of(self.said(name, "--help"))
        usage = [line.strip() for line in sections["Usage"]]
        options = [option_of(line) for line in sections["Options"]]
        return Command(name, summary, usage, paragraphs[1:], options)


# Manual pages


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"(?m)^(?=['.])", r"\\&", text)


def title(name, version):
    return f'.TH {name.upper()} 1 "" "vk {version}" "User Commands"\n'


def tagged(entries):
    return "".join(f".TP\n{tag}\n{roff(text)}\n" for tag, text in entries)


def option_entries(options):
    for option in options:
        yield f"\\fB{roff(option.name)}\\fR" + (f" \\fI{roff(option.value)}\\fR" if option.value else ""), option.description


def sentence(text):
    """A summary as NAME sections have it: no capital, no full stop."""
    return text[0].lower() + text[1:].rstrip(".")


def main_page(help_):
    commands = ((f"\\fBvk\\-{c.name}\\fR(1)", c.summary) for c in help_.commands)
    return (
        title("vk", help_.version)
        + f".SH NAME\nvk \\- {roff(sentence(help_.summary))}\n"
        + ".SH SYNOPSIS\n\\fBvk\\fR \\fICOMMAND\\fR ...\n"
        + f".SH DESCRIPTION\n{roff(help_.summary)}\nEach command has a page of its own, and \\fBvk\\fR \\fICOMMAND\\fR \\fB\\-\\-help\\fR.\n"
        + f".SH COMMANDS\n{tagged(commands)}"
        + f".SH OPTIONS\n{tagged(option_entries(help_.options))}"
        + f".SH EXIT STATUS\n{tagged((f'.B {code}', meaning) for code, meaning in help_.exit_codes)}"
    )


def command_page(help_, command):
    usage = "\n.br\n".join(f"\\fBvk {line.split()[1]}\\fR {roff(' '.join(line.split()[2:]))}" for line in command.usage)
    text = "\n.PP\n".join(roff(paragraph) for paragraph in [command.summary, *command.paragraphs])
    return (
        title(f"vk-{command.name}", help_.version)
        + f".SH NAME\nvk\\-{command.name} \\- {roff(sentence(command.summary))}\n"
        + f".SH SYNOPSIS\n{usage}\n"
        + f".SH DESCRIPTION\n{text}\n"
        + f".SH OPTIONS\n{tagged(option_entries(command.options))}"
        + ".SH SEE ALSO\n\\fBvk\\fR(1)\n"
    )


# Completion


def values_of(option):
    """The words that a description lists, as in "up to 8 bits: fixed, gray or cube (default)"."""
    text = re.sub(r"\([^)]*\)", "", option.description)
    words = []
    for part in re.split("[:;]", text):
        items = [item.strip() for item in re.split(", | or ", part.strip(" ,"))]
        listed = list(itertools.takewhile(re.compile("[a-z0-9][a-z0-9-]*").fullmatch, items))
        words += listed if len(listed) > 1 else []
    return words


COMPLETION = r"""# bash completion for vk, made from its help by vk_manual.py.
declare -gA _vk_options=(@OPTIONS@
)
# What goes behind an option: these words, or, of an empty list, file names.
declare -gA _vk_values=(@VALUES@
)
_vk_commands="@COMMANDS@"
_vk_operations="@OPERATIONS@"

_vk()
{
    local current=${COMP_WORDS[COMP_CWORD]} first="" command="" words i
    local last=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        words=${COMP_WORDS[i]}
        if [[ ${_vk_values["$command $words"]+there} ]]; then
            ((i++))
        elif [[ -z $command && $words != -* ]]; then
            first=$words command=$words
        elif [[ $first == batch && " $_vk_operations " == *" $words "* ]]; then
            command=$words # a step of the chain
        fi
    done
    if [[ ${_vk_values["$command $last"]+there} ]]; then
        words=${_vk_values[$command $last]}
    elif [[ $current == -* || -z $command ]]; then
        words=${_vk_options[${command:-vk}]}
        [[ -n $command ]] || words+=" $_vk_commands"
    elif [[ $first == batch ]]; then
        words=$_vk_operations
    else
        words=""
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o bashdefault -o default -F _vk vk
"""


def completion(help_):
    vk = Command("vk", "", [], [], help_.options)
    options, values = "", ""
    for command in [vk, *help_.commands]:
        options += f'\n    [{command.name}]="{" ".join(option.name for option in command.options)}"'
        for option in command.options:
            if option.value:
                key = f"{command.name} {option.name}" if command is not vk else f" {option.name}"
                values += f'\n    ["{key}"]="{" ".join(values_of(option))}"'
    fills = {
        "OPTIONS": options,
        "VALUES": values,
        "COMMANDS": " ".join(command.name for command in help_.commands),
        "OPERATIONS": " ".join(command.name for command in help_.commands if command.is_operation),
    }
    return re.sub("@([A-Z]+)@", lambda match: fills[match[1]], COMPLETION)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vk", required=True)
    parser.add_argument("folder", type=pathlib.Path)
    arguments = parser.parse_args()
    help_ = Help(arguments.vk)
    pages = {"vk": main_page(help_)} | {f"vk-{c.name}": command_page(help_, c) for c in help_.commands}
    man = arguments.folder / "man1"
    man.mkdir(parents=True, exist_ok=True)
    for old in man.glob("*.1"):
        old.unlink()
    for name, text in pages.items():
        (man / f"{name}.1").write_text(text, encoding="utf-8")
    (arguments.folder / "completion").mkdir(exist_ok=True)
    (arguments.folder / "completion" / "vk").write_text(completion(help_), encoding="utf-8")


if __name__ == "__main__":
    main()
