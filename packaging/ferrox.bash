# bash completion for ferrox. The options come from `ferrox --help`, so they
# are always the ones of the installed program.

_ferrox_options() {
  ferrox --help 2>/dev/null | sed -nE 's/^  (--[a-z0-9-]+).*/\1/p'
}

_ferrox() {
  local cur=${COMP_WORDS[COMP_CWORD]}
  local prev=${COMP_WORDS[COMP_CWORD-1]}
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "convert survey name settings help --help --version" -- "$cur")
    return
  fi
  case $prev in
    --gaiji-table|--changes)
      mapfile -t COMPREPLY < <(compgen -f -- "$cur")
      return ;;
    --conv-mode|--file-mode|--line-size|--chk-size|--bin-rate|--fnc-char)
      return ;;
  esac
  if [[ $cur == -* && $cur != - ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_ferrox_options)" -- "$cur")
    return
  fi
  mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  [ -z "$cur" ] && COMPREPLY+=("-")
}

complete -o filenames -o bashdefault -F _ferrox ferrox
