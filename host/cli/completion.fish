# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# fish completion for zorhost: the program itself prints the commands, options and ports that fit, and nothing
# where a file is expected, for which fish lists files.
function __zorhost_fitting
  set -l words (commandline --tokenize --cut-at-cursor) (commandline --current-token --cut-at-cursor)
  zorhost --complete $words[2..] 2>/dev/null
end
complete --command zorhost --arguments '(__zorhost_fitting)'
