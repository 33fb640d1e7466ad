# bash completion for nuboindex. Sub-commands, options and words come from the program's own help, so that they are
# those of the program that is installed.

# What the help of "nuboindex $2..." lists under the heading $1, one line an entry.
_nuboindex_help()
{
    local heading=$1
    shift
    "${COMP_WORDS[0]/#\~/$HOME}" "$@" --help 2>/dev/null |
        sed -n "/^$heading:/,/^\$/ s/^  \([^ ].*\)/\1/p"
}

# The words of "NAME:{a,b,c} ..."; nothing where anything may stand.
_nuboindex_words()
{
    [[ $1 =~ :\{([^}]*)\} ]] && printf '%s' "${BASH_REMATCH[1]//,/ }"
}

_nuboindex()
{
    local cur prev words cword
    _init_completion -n : || return
    if ((cword == 1)); then
        local names=$(_nuboindex_help Subcommands | cut -d ' ' -f 1)
        [[ $cur != -* ]] || names=--help
        COMPREPLY=($(compgen -W "$names" -- "$cur"))
        return
    fi

    local command=${words[1]} i entry
    local -a options positionals
    mapfile -t options < <(_nuboindex_help Options "$command")
    mapfile -t positionals < <(_nuboindex_help Positionals "$command")

    # Behind an option that takes a value.
    local takes_value=no position=0
    for ((i = 2; i < cword; i++)); do
        if [[ $takes_value == yes ]]; then
            takes_value=no
        elif [[ ${words[i]} == -?* ]]; then
            for entry in "${options[@]}"; do
                [[ ,${entry%% *}, != *",${words[i]},"* || ! $entry =~ ^[^\ ]+\ ([A-Z][A-Z]|:\{) ]] || takes_value=yes
            done
        else
            ((position++))
        fi
    done
    local wanted=
    if [[ $takes_value == yes ]]; then
        for entry in "${options[@]}"; do
            [[ ,${entry%% *}, != *",$prev,"* ]] || wanted=$(_nuboindex_words "$entry")
        done
    elif [[ $cur == -* ]]; then
        wanted=$(printf '%s\n' "${options[@]%% *}" | tr , '\n' | grep '^--')
    else
        # The last one may be repeated.
        if ((position >= ${#positionals[@]})); then
            [[ ${#positionals[@]} -gt 0 && ${positionals[-1]} == *...* ]] || return
            position=-1
        fi
        wanted=$(_nuboindex_words "${positionals[position]}")
    fi
    if [[ -n $wanted ]]; then
        COMPREPLY=($(compgen -W "$wanted" -- "$cur"))
    else
        _filedir
        __ltrim_colon_completions "$cur"
    fi
} && complete -F _nuboindex nuboindex
