# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Completion of the fibdb program in bash. What may stand where, the program knows itself.
_fibdb() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} word i
  local -a command=()
  COMPREPLY=()
  case $previous in
    -c | --command) return ;; # a whole command, as one word
    -f | --file) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
  esac
  if [[ $current == -?* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" --help | grep -oE -- '--[a-z-]+' | sort -u)" -- "$current")
    return
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    case $word in
      -c | --command) ((++i)) ;;
      -?*) ;;
      *) command+=("$word") ;;
    esac
  done
  mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" --complete -- "${command[@]}" "$current" 2>/dev/null)
  # A folder goes on.
  [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == */ ]] && compopt -o nospace 2>/dev/null
  return 0
}
complete -F _fibdb fibdb
