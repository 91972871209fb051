# Completion of qelvm for bash. Options and names come from the tool itself.

_qelvm() {
  local tool=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} command='' names=0 previous i
  COMPREPLY=()
  # The command, and how many of its words before this one are no options or values of theirs.
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
    --strict | --in-place | --no-header | --errors | --json | --help | --version | -h) ;;
    -*) i=$((i + 1)) ;;
    *) if [ -z "$command" ]; then command=${COMP_WORDS[i]}; else names=$((names + 1)); fi ;;
    esac
  done
  previous=${COMP_WORDS[COMP_CWORD - 1]}
  case $previous in
  --input | -i | --output | -o | --second-input | --library)
    compopt -o filenames 2> /dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
    return
    ;;
  --format)
    mapfile -t COMPREPLY < <(compgen -W 'text csv raw' -- "$word")
    return
    ;;
  --bad-rows)
    mapfile -t COMPREPLY < <(compgen -W 'stop skip mark' -- "$word")
    return
    ;;
  --column | --second-column | --result-column | --delimiter | --second | --scalar)
    return
    ;;
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$("$tool" $command --help 2> /dev/null |
      sed -n 's/^ \{1,\}\(-[a-z],\)\{0,1\}\(--[a-z-]*\).*/\2/p')" -- "$word")
  elif [ -z "$command" ]; then
    mapfile -t COMPREPLY < <(compgen -W 'list eval apply' -- "$word")
  elif [ $names -eq 0 ] && [ "$command" != list ]; then
    local prefix=''
    [[ $word == qels* ]] && prefix=qels
    mapfile -t COMPREPLY < <(compgen -P "$prefix" -W "$("$tool" list 2> /dev/null |
      sed '1d; /^$/q; s/ .*//')" -- "${word#"$prefix"}")
  fi
}
complete -F _qelvm qelvm
