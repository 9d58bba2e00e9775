#compdef zorhost
# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# zsh completion for zorhost: the program itself prints the commands, options and ports that fit.
local -a fitting
fitting=("${(@f)$(zorhost --complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
if (( ${#fitting[@]} )) && [[ -n $fitting[1] ]]; then
  compadd -a fitting
else
  _files
fi
