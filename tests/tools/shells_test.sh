#!/usr/bin/env bash
# usage: shells_test.sh BUILD_FOLDER SITE_SEED
# What shells offer at the cursor, in each of the shells that are here, and what man makes of the pages.
set -euo pipefail
build=$(realpath "$1")
seed=$(realpath "$2")
export PATH=$build/bin:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
export ORK_HOST_DB=$scratch/site.db HOME=$scratch
zolp host init "$ORK_HOST_DB" --seed "$seed" >/dev/null
mkdir -p examples

failed=0
expect() { # WHAT EXPECTED ACTUAL
  if [ "$2" != "$3" ]; then
    printf '%s: expected <%s>, but it is <%s>\n' "$1" "$2" "$3" >&2
    failed=1
  fi
}

# What is typed, and what it becomes; the sites' names need an automatic login, which this one has.
typed=("zolp bo" "zolp bom tree GB-12" "zolp job start Rel" "zolp job start Release\\ o" "zolp bom tree --ru"
  "zolp job signoff --decision=a" "zolp list clean exam" "zolp clone --out=exam")
become=("zolp bom" "zolp bom tree GB-1210/C" "zolp job start Release\\ of\\ parts" "zolp job start Release\\ of\\ parts"
  "zolp bom tree --rule" "zolp job signoff --decision=approve" "zolp list clean examples" "zolp clone --out=examples")

in_bash() {
  # shellcheck disable=SC1091
  source "$build/completions/zolp"
  compopt() { :; }
  local word parts i
  for i in "${!typed[@]}"; do
    # Bash parts words at an equals sign.
    parts=${typed[i]//=/ = }
    parts=${parts//\\ /%}
    read -ra COMP_WORDS <<<"$parts"
    COMP_WORDS=("${COMP_WORDS[@]//%/\\ }")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _zolp
    word=${become[i]##*[= ]}
    [[ ${become[i]} != *\\* ]] || word='Release\ of\ parts'
    expect "bash: ${typed[i]}" "$word" "${COMPREPLY[*]}"
  done
}

in_fish() {
  local i candidates word
  for i in "${!typed[@]}"; do
    candidates=$(fish -c "source '$build/completions/zolp.fish'; complete -C '${typed[i]//\\/\\\\}'")
    word=${become[i]##* }
    [[ ${become[i]} != *\\* ]] || word='Release of parts'
    candidates=${candidates%%$'\t'*}
    expect "fish: ${typed[i]}" "$word" "${candidates%/}"
  done
}

in_zsh() {
  cat >try.zsh <<'ZSH'
zmodload zsh/zpty
# A terminal of its own: the completed line is given to a command that writes it down.
zpty shell zsh -f -i
zpty -w shell "PS1=; autoload -Uz compinit; compinit -u -d ./dump; source $1; note() { zle expand-or-complete; print -r -- \$BUFFER >>lines; BUFFER=; }; zle -N note; bindkey '^G' note; : >ready"
while [[ ! -e ready ]]; do sleep 0.1; done
lines=0
for word in "${@[2,-1]}"; do
  zpty -w -n shell "$word"$'\a'
  (( ++lines ))
  while [[ $(cat lines 2>/dev/null | wc -l) -lt $lines ]]; do
    zpty -r -t shell ignored
    sleep 0.1
  done
done
ZSH
  timeout 120 zsh try.zsh "$build/completions/_zolp" "${typed[@]}" >/dev/null
  local i line
  for i in "${!typed[@]}"; do
    line=$(sed -n "$((i + 1))p" lines)
    line=${line%[ /]}
    expect "zsh: ${typed[i]}" "${become[i]}" "$line"
  done
}

in_bash
for shell in fish zsh; do
  if command -v "$shell" >/dev/null; then
    "in_$shell"
  else
    echo "$shell is not here: not tried"
  fi
done

# A page for each command, and none that man stumbles over.
pages=$(zolp manual --markdown | grep -c '^## ')
expect "pages of the manual" $((pages + 1)) "$(find "$build/manual" -name '*.1' | wc -l)"
if command -v man >/dev/null; then
  for page in "$build"/manual/*.1; do
    expect "warnings for ${page##*/}" "" "$(man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)"
  done
else
  echo "man is not here: its pages are not tried"
fi
exit "$failed"
