#compdef qvtool
# Completion for zsh: the words are those of the tool's own help.
_qvtool() {
    local choice=''
    if [[ $PREFIX == -* ]]; then
        choice=$(qvtool help "$words[2]" 2>/dev/null | sed -n 's/^  \(-h, \)\?\(--[a-z0-9-]*\) .*/\2/p')
    elif [[ $CURRENT == 2 || $CURRENT:$words[2] == 3:help ]]; then
        choice=$(qvtool help | sed -n 's/^  \([a-z-]*\)   *[A-Z].*/\1/p')
    fi
    if [[ -n $choice ]]; then compadd -- ${(f)choice}; else _files; fi
}
_qvtool
