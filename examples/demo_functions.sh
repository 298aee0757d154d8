# What the demos share; each sources it with its own arguments:
# FOLDER-OF-PROGRAMS SCRATCH-FOLDER

[ $# -eq 2 ] || {
  printf 'usage: %s FOLDER-OF-PROGRAMS SCRATCH-FOLDER\n' "$0" >&2
  exit 2
}
data=$(cd "$(dirname "$0")" && pwd)
programs=$(cd "$1" && pwd)
scratch=$2
PATH=$programs:$PATH

if [ -t 1 ]; then bold=$'\033[1m' plain=$'\033[0m'; else bold='' plain=''; fi

# heading TITLE EXPLANATION
heading() { printf '\n%s%s%s\n%s\n\n' "$bold" "$1" "$plain" "$2"; }

# Lines of text tables are padded with blanks; on the screen they are only in the way.
shown() { sed 's/[ ;]*$//'; }

# run ARGUMENTS...: shows a command of zolp and runs it.
run() {
  printf '%s$ zolp' "$bold"
  printf ' %q' "$@"
  printf '%s\n' "$plain"
  zolp "$@"
}

# begin_demo NAME: works on a fresh, writable copy of the demo's files from here on.
begin_demo() {
  local folder=$scratch/$1
  rm -rf "$folder"
  mkdir -p "$folder"
  cp -R "$data"/. "$folder"
  chmod -R u+w "$folder"
  cd "$folder"
}
