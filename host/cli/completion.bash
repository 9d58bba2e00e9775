# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# bash completion for zorhost: the program itself prints the commands, options and ports that fit.
_zorhost() {
  local IFS=$'\n' words
  words=($(zorhost --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
  COMPREPLY=()
  [ ${#words[@]} -gt 0 ] && COMPREPLY=($(printf '%q\n' "${words[@]}"))
}
complete -o default -F _zorhost zorhost
