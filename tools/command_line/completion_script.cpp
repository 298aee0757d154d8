/** @file The scripts with which shells ask the program what to offer. */
#include "command_line/completion.h"
#include "error.h"

namespace tool {

namespace {

// All three ask "zolp complete -- WORDS...": each line of the answer is a candidate and its
// description with a tab between, the last line a colon and what the shell may offer besides.

constexpr const char* bash_script = R"(# bash completion for zolp
_zolp() {
  # The words up to the cursor, joined again where bash has parted them at an equals sign.
  local words=() word glued= i
  for ((i = 1; i <= COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [[ $word == = || $glued ]] && ((${#words[@]} > 0)); then
      words[-1]+=$word
      [[ $word == = ]] && glued=1 || glued=
    else
      words+=("$word")
    fi
  done
  ((${#words[@]} > 0)) || words=("")
  for i in "${!words[@]}"; do
    # What was quoted is asked for without its quotes.
    word=${words[i]#[\"\']}
    words[i]=${word//\\/}
  done
  local current=${words[-1]} last=${COMP_WORDS[COMP_CWORD]} before= candidate
  # Bash replaces only what it takes for the last word.
  [[ $current == -*=* ]] && before=${current%%=*}=
  COMPREPLY=()
  while IFS=$'\t' read -r candidate _; do
    case $candidate in
      :files) compopt -o filenames; mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "${current#"$before"}") ;;
      :folders) compopt -o filenames; mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -d -- "${current#"$before"}") ;;
      :*) ;;
      *)
        candidate=${candidate#"$before"}
        [[ $last == [\"\']* ]] || printf -v candidate %q "$candidate"
        COMPREPLY+=("$candidate")
        ;;
    esac
  done < <("${COMP_WORDS[0]/#\~/$HOME}" complete -- "${words[@]}" 2>/dev/null)
}
complete -F _zolp zolp
)";

constexpr const char* zsh_script = R"(#compdef zolp
# zsh completion for zolp
_zolp() {
  local -a candidates
  local line others= text description
  for line in "${(@f)$("${(Q)words[1]}" complete -- "${(@Q)words[2,CURRENT]}" 2>/dev/null)}"; do
    text=${line%%$'\t'*}
    description=${line#*$'\t'}
    case $line in
      :*) others=$line ;;
      *) candidates+=("${text//:/\\:}${description:+:$description}") ;;
    esac
  done
  (( $#candidates )) && _describe -V zolp candidates
  case $others in
    :files) compset -P '-*='; _files ;;
    :folders) compset -P '-*='; _files -/ ;;
  esac
}
if [ "${funcstack[1]}" = _zolp ]; then
  _zolp "$@"
else
  compdef _zolp zolp
fi
)";

constexpr const char* fish_script = R"(# fish completion for zolp
function __zolp_complete
    set -l words (commandline -opc)
    set -l current (string trim -l -c '"\'' -- (commandline -ct) | string replace -a '\\' '')
    # What stands before a value in the same word, "--out=", belongs to the candidate.
    set -l before (string match -r -- '^-[^=]*=' "$current")
    set -l value (string replace -r -- '^-[^=]*=' '' "$current")
    for line in ($words[1] complete -- $words[2..-1] "$current" 2>/dev/null)
        switch $line
            case :files
                string join \n -- "$before"(__fish_complete_path "$value")
            case :folders
                string join \n -- "$before"(__fish_complete_directories "$value")
            case ':*'
            case '*'
                echo $line
        end
    end
end
complete -c zolp -f -a '(__zolp_complete)'
)";

}  // namespace

std::string completion_script(const std::string& shell) {
  if (shell == "bash") {
    return bash_script;
  }
  if (shell == "zsh") {
    return zsh_script;
  }
  if (shell == "fish") {
    return fish_script;
  }
  throw usage_error("there is no completion for " + shell, "name bash, zsh or fish");
}

}  // namespace tool
