# Completion for bash: the words are those of the tool's own help.
_qvtool() {
    local choice=''
    if [[ $2 == -* ]]; then
        choice=$(qvtool help "${COMP_WORDS[1]}" 2>/dev/null | sed -n 's/^  \(-h, \)\?\(--[a-z0-9-]*\) .*/\2/p')
    elif [[ $COMP_CWORD == 1 || $COMP_CWORD:${COMP_WORDS[1]} == 2:help ]]; then
        choice=$(qvtool help | sed -n 's/^  \([a-z-]*\)   *[A-Z].*/\1/p')
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choice" -- "$2")
}
complete -o bashdefault -o default -F _qvtool qvtool
