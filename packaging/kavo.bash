# Completion of kavo(1) for bash.

# The words for a method's name: "API VERSION METHOD", as far as they are there.
_kavo_methods() {
  kavo call --list 2>/dev/null | awk -v api="$1" -v version="$2" '
    NR == 1 { next }
    api == "" { print $1 }
    api == $1 && version == "" { print $2 }
    api == $1 && version == $2 { print $3 }'
}

_kavo_tasks() {
  kavo task list 2>/dev/null | awk 'NR > 1 { print $1 }'
}

_kavo_runs() {
  kavo history -n 20 2>/dev/null | awk 'NR > 1 { print $1 }'
}

_kavo() {
  local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words=
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="call task run history output stop import-crontab export import backup sign-in-link --help"
  else
    case $command in
      call)
        case $COMP_CWORD in
          2) words="$(_kavo_methods "" "") --list" ;;
          3) words=$(_kavo_methods "${COMP_WORDS[2]}" "") ;;
          4) words=$(_kavo_methods "${COMP_WORDS[2]}" "${COMP_WORDS[3]}") ;;
        esac
        words+=" --json --language"
        ;;
      task)
        if [ "$COMP_CWORD" -eq 2 ]; then
          words="list show next remove"
        else
          words="$(_kavo_tasks) --json"
          [ "${COMP_WORDS[2]}" = next ] && words+=" -n"
        fi
        ;;
      run) words="$(_kavo_tasks) --wait --json" ;;
      history) words="$(_kavo_tasks) -n --json" ;;
      output) words="$(_kavo_runs) --follow" ;;
      stop) words="$(_kavo_runs) --all" ;;
      import-crontab) words="--owner --dry-run" ;;
      import) words="--replace" ;;
      sign-in-link) words="--user --url" ;;
    esac
    case $command in
      import-crontab | import | backup) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
    case ${COMP_WORDS[COMP_CWORD - 1]} in
      --owner | --user) mapfile -t COMPREPLY < <(compgen -u -- "$word") && return ;;
    esac
  fi
  mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -F _kavo kavo
