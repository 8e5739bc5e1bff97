"""Writes the manual page and the completions of the shells from what the program itself says of its commands.

usage: write_manual.py PROGRAM FOLDER

FOLDER gets quorin-gateway.1 and the files `bash`, `zsh` and `fish`. None of them can differ from the program.
"""

import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
NAME = "quorin-gateway"


class Command:
    """One command, or the program itself: its words, what it is for, its options, arguments and commands."""

    def __init__(self, program, path, about=""):
        self.path, self.about = path, about
        text = subprocess.run([program, "help", *path], check=True, stdout=subprocess.PIPE, text=True,
                              env={"PATH": "/usr/bin:/bin", "LANG": "C.UTF-8"}).stdout
        self.usage = re.search(r"^Usage: (.*)$", text, re.MULTILINE)[1]
        self.arguments = list(entries(text, "Positionals"))
        self.options = list(entries(text, "Options"))
        self.commands = [Command(program, [*path, name], help) for name, help in entries(text, "Subcommands")]
        if not self.options:
            raise SystemExit(f"The help of {' '.join([NAME, *path])} has no options.")

    def everything(self):
        """This one and all below it."""
        yield self
        for command in self.commands:
            yield from command.everything()


def entries(text, section):
    """The (name, help) pairs of one section of a help text."""
    found = re.search(rf"^{section}:\n((?:  .*\n)*)", text, re.MULTILINE)
    for entry in re.findall(r"^  (?=\S)(.*(?:\n {30}.*)*)", found[1] if found else "", re.MULTILINE):
        # A name that needs more than its column has its help on the next line.
        name, help = entry.split("\n", 1) if "\n" in entry else (entry[:28], entry[28:])
        yield name.strip(), " ".join(help.split())


def flags(option):
    """What may be typed for an option: "-h,--help" gives both."""
    return option.split()[0].split(",")


def takes_value(option):
    words = option.split()
    return len(words) > 1 and re.fullmatch(r"[A-Z:]+", words[1]) is not None


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^([.'])", r"\\&\1", text)


def option_page(option, help):
    words = re.sub(r"(Excludes|Needs|Env|REQUIRED).*$|\($", "", option).split()
    shown = ", ".join(f"\\fB{roff(flag)}\\fR" for flag in words[0].split(","))
    if len(words) > 1 and takes_value(option):
        shown += f" \\fI{roff(words[1])}\\fR"
    variable = re.search(r"Env:(\w+)", option)
    needed = " Must be given." if "REQUIRED" in option else ""
    also = f" Also from the variable {variable[1]}." if variable else ""
    return f".TP\n{shown}\n{roff(help)}.{roff(needed + also)}\n"


def page(program, version):
    described = []
    for command in program.everything():
        if command is program or command.commands:
            continue
        usage = command.usage.removeprefix(NAME + " ").replace(" [OPTIONS]", "")
        described.append(f".SS {roff(usage)}\n{roff(command.about)}.\n")
        described += [option_page(*option) for option in command.options if not option[0].startswith("-h,")]
    parts = {"@VERSION@": version,
             "@OPTIONS@": "".join(option_page(*option) for option in program.options),
             "@COMMANDS@": "".join(described)}
    text = (HERE / "quorin-gateway.1.in").read_text()
    for mark, part in parts.items():
        text = text.replace(mark + "\n" if part.endswith("\n") else mark, part)
    return text


def bash(program):
    cases = []
    for command in program.everything():
        words = [flag for option, _ in command.options for flag in flags(option)]
        words += [below.path[-1] for below in command.commands]
        cases.append(f"        '{' '.join(command.path)}') words='{' '.join(words)}' ;;\n")
    values = "|".join(flag for command in program.everything() for option, _ in command.options
                      for flag in flags(option) if takes_value(option))
    names = "|".join(" ".join(command.path) for command in program.everything() if command.path)
    return (f"""# Completion of {NAME} for bash.
_quorin_gateway()
{{
    local current="${{COMP_WORDS[COMP_CWORD]}}" before="${{COMP_WORDS[COMP_CWORD - 1]}}" path='' longer words at
    COMPREPLY=()
    case "$before" in
        {values}) COMPREPLY=($(compgen -f -- "$current")); return ;;
    esac
    for ((at = 1; at < COMP_CWORD; at++)); do
        longer="${{path:+$path }}${{COMP_WORDS[at]}}"
        case "$longer" in
            '{names.replace("|", "'|'")}') path="$longer" ;;
        esac
    done
    case "$path" in
{''.join(cases)}    esac
    COMPREPLY=($(compgen -W "$words" -- "$current"))
    [ ${{#COMPREPLY[@]}} -gt 0 ] || COMPREPLY=($(compgen -f -- "$current"))
}}
complete -o filenames -F _quorin_gateway {NAME} {NAME}-desktop
""")


def quoted(text):
    return text.replace("'", "'\\''")


def zsh(program):
    cases = []
    for command in program.everything():
        words = [(flag, help) for option, help in command.options for flag in flags(option)]
        words += [(below.path[-1], below.about) for below in command.commands]
        listed = "".join(f"            '{quoted(word)}:{quoted(help)}'\n" for word, help in words)
        cases.append(f"        '{' '.join(command.path)}') offered=(\n{listed}        ) ;;\n")
    names = "'|'".join(" ".join(command.path) for command in program.everything() if command.path)
    return (f"""#compdef {NAME} {NAME}-desktop
# Completion of {NAME} for zsh.
_quorin_gateway()
{{
    local chosen='' longer word
    local -a offered
    for word in "${{words[@]:1:$((CURRENT - 2))}}"; do
        longer="${{chosen:+$chosen }}$word"
        case "$longer" in
            '{names}') chosen="$longer" ;;
        esac
    done
    case "$chosen" in
{''.join(cases)}    esac
    _describe 'command or option' offered
    _files
}}
_quorin_gateway "$@"
""")


def fish(program):
    lines = [f"# Completion of {NAME} for fish.\n"]
    for command in program.everything():
        below = " ".join(each.path[-1] for each in command.commands)
        where = " and ".join(f"__fish_seen_subcommand_from {word}" for word in command.path)
        if below:
            where += (" and " if where else "") + f"not __fish_seen_subcommand_from {below}"
        for each in command.commands:
            lines.append(f"complete -c {NAME} -n '{where}' -f -a {each.path[-1]} -d '{quoted(each.about)}'\n")
        for option, help in command.options:
            names = " ".join(f"-l {flag[2:]}" if flag.startswith("--") else f"-s {flag[1:]}" for flag in flags(option))
            value = " -r" if takes_value(option) else ""
            lines.append(f"complete -c {NAME} -n '{where}' {names}{value} -d '{quoted(help)}'\n")
    return "".join(lines)


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    root = Command(program, [])
    version = subprocess.run([program, "--version"], check=True, stdout=subprocess.PIPE, text=True).stdout.split()[-1]
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{NAME}.1").write_text(page(root, version))
    for shell in bash, zsh, fish:
        (folder / shell.__name__).write_text(shell(root))


main()
