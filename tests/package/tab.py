#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""tab.py SHELL COMPLETION: what an interactive shell makes of each line of the input at the tab key.

The functions are those below COMPLETION, found as the shell finds them. The line is told by the shell's
own editor, with a "|" where it ends, so that a space behind a word shows."""
import os
import pty
import select
import sys
import tempfile
import time

PROMPT = "READY> "
TELL = "\x0f"
DISCARD = "\x15"
LIMIT_S = 30

BASH = """
PS1='{prompt}'
for each in {completion}/bash-completion/completions/*; do source "$each"; done
bind 'set enable-bracketed-paste off'
tell() {{ printf '%s|' "$READLINE_LINE" > {told}.new && mv {told}.new {told}; }}
bind -x '"\\C-o": tell'
"""
ZSH = """
PS1='{prompt}'
fpath=({completion}/zsh/site-functions $fpath)
autoload -Uz compinit && compinit -u -D
tell() {{ print -rn -- "$BUFFER|" > {told}.new && mv {told}.new {told} }}
zle -N tell
bindkey -e
bindkey '^O' tell
"""
FISH = """
function fish_prompt; echo -n '{prompt}'; end
function fish_greeting; end
set -g fish_autosuggestion_enabled 0
for each in {completion}/fish/vendor_completions.d/*.fish; source $each; end
function tell; printf '%s|' (commandline) > {told}.new; mv {told}.new {told}; end
bind \\co tell
"""


def command_of(shell, completion, work):
    """The words that start the shell, which reads its set-up from `work`."""
    start = {"bash": "bashrc", "zsh": ".zshrc", "fish": "start.fish"}[shell]
    text = {"bash": BASH, "zsh": ZSH, "fish": FISH}[shell]
    path = os.path.join(work, start)
    with open(path, "w", encoding="ascii") as file:
        file.write(text.format(prompt=PROMPT, completion=completion, told=os.path.join(work, "told")))
    return {"bash": ["bash", "--noprofile", "--rcfile", path, "-i"],
            "zsh": ["zsh", "-d", "-i"],
            "fish": ["fish", "--no-config", "-i", "-C", f"source {path}"]}[shell]


def wait_until(terminal, seen):
    """Takes what the shell prints, as it waits otherwise, until `seen` of all that is true."""
    text = ""
    end = time.monotonic() + LIMIT_S
    while not seen(text):
        if time.monotonic() > end:
            sys.exit(f"tab.py: no answer from the shell; it printed {text!r}")
        if select.select([terminal], [], [], 0.05)[0]:
            text += os.read(terminal, 4096).decode(errors="replace")


def lines_at_tab(shell, completion, lines):
    with tempfile.TemporaryDirectory() as work:
        words = command_of(shell, os.path.abspath(completion), work)
        child, terminal = pty.fork()
        if child == 0:
            os.environ.update(HOME=work, ZDOTDIR=work, XDG_CONFIG_HOME=work, XDG_DATA_HOME=work,
                              TERM="xterm", LC_ALL="C.UTF-8")
            os.execvp(words[0], words)
        told = os.path.join(work, "told")
        wait_until(terminal, lambda text: PROMPT in text)
        for line in lines:
            os.write(terminal, (line + "\t" + TELL).encode())
            wait_until(terminal, lambda _: os.path.exists(told))
            with open(told, encoding="utf-8") as file:
                yield file.read()
            os.remove(told)
            os.write(terminal, DISCARD.encode())
        os.close(terminal)
        os.waitpid(child, 0)


if __name__ == "__main__":
    for result in lines_at_tab(sys.argv[1], sys.argv[2], sys.stdin.read().splitlines()):
        print(result)
