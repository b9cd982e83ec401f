#!/usr/bin/env bash
# Holds every #include of src/ against src/LAYERS, and system headers to src/platform/.
# usage: check-layers.sh SOURCE-DIRECTORY
set -u
cd "$1" || exit 2
awk '
  FILENAME == "src/LAYERS" {
    if ($0 ~ /^#/ || $0 !~ /:/) next
    split($0, halves, "|"); split(halves[1], sides, ":")
    gsub(/ /, "", sides[1]); library = sides[1]; libraries[library] = 1
    allowed[library] = " " sides[2] " " library " "
    next
  }
  FNR == 1 {
    folder = FILENAME; sub(/^src\//, "", folder); sub(/\/[^\/]*$/, "", folder)
    if (!(folder in libraries)) { print FILENAME ": its folder is not in src/LAYERS"; bad = 1 }
  }
  /^#include "/ {
    split($0, quoted, "\""); target = quoted[2]; sub(/\/[^\/]*$/, "", target)
    if (!(target in libraries)) { print FILENAME ":" FNR ": " quoted[2] " is of no library of ours"; bad = 1 }
    else if (index(allowed[folder], " " target " ") == 0) {
      print FILENAME ":" FNR ": " folder " may not use " target; bad = 1 }
  }
  /^#include <(sys\/|netinet\/|arpa\/|linux\/|unistd|fcntl|dlfcn|pthread|dirent|poll|signal|spawn|syslog|utime|termios|sqlite3)/ {
    if (folder != "platform") { print FILENAME ":" FNR ": a system header outside src/platform"; bad = 1 }
  }
  END { if (!bad) print "layers: every include keeps to src/LAYERS"; exit bad }
' src/LAYERS $(find src -name '*.cpp' -o -name '*.h' | sort)
