# Completion of zerovactl's command line, with the names of devices.

# The devices of the service that the command line names so far. Typing must not wait for a service
# that hangs.
_zerovactl_devices()
{
   local i target=()
   for ((i = 1; i < COMP_CWORD; ++i)); do
      case ${COMP_WORDS[i]} in
         --host) target+=(--host "${COMP_WORDS[i + 1]-}") ;;
         --immediate) target+=(--immediate) ;;
      esac
   done
   "${COMP_WORDS[0]}" devices --timeout 2 "${target[@]}" 2>/dev/null
}

# Completes with the devices. Names are a service's: compgen -W would run a command that stands in one, and
# so would the finished line, were it not quoted.
_zerovactl_complete_device()
{
   local name
   while IFS= read -r name; do
      if [[ $name == "$1"* ]]; then COMPREPLY+=("$(printf %q "$name")"); fi
   done < <(_zerovactl_devices)
}

_zerovactl()
{
   local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
   local common='--host --immediate --timeout --json --lang --help'
   local commands='ping devices terminals route release uri reset watch explain settings trace'
   local command='' second='' i words=''
   COMPREPLY=()
   for ((i = 1; i < COMP_CWORD; ++i)); do
      case ${COMP_WORDS[i]} in
         --) return ;;
         --host | --timeout | --lang) ((++i)) ;;
         -*) ;;
         *) if [ -z "$command" ]; then command=${COMP_WORDS[i]}; elif [ -z "$second" ]; then second=${COMP_WORDS[i]}; fi ;;
      esac
   done
   case $previous in
      --host)
         mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
         return
         ;;
      --lang)
         mapfile -t COMPREPLY < <(compgen -W 'en fr de ja ko zh' -- "$current")
         return
         ;;
      --record | --read)
         mapfile -t COMPREPLY < <(compgen -f -- "$current")
         return
         ;;
      --timeout | --count | --interval | --attributes | --from | --to | --owner | --type | --listen | *constraint | *modifier)
         return
         ;;
      --device)
         _zerovactl_complete_device "$current"
         return
         ;;
   esac
   if [[ $current == -* ]]; then
      case $command in
         '') words='--version' ;;
         ping) words='--count --quiet' ;;
         terminals) words='--attributes' ;;
         route) words='--constraint --source-constraint --destination-constraint --modifier --destination-modifier --optional-modifier --owner --multi-device --reserve --program --hold' ;;
         release) words='--device --from --to --between' ;;
         reset) if [ "$second" = terminal ]; then words='--type'; else words='--initiate --complete'; fi ;;
         watch) words='--interval --count' ;;
         trace) words='--listen --to --record --read' ;;
      esac
      mapfile -t COMPREPLY < <(compgen -W "$words $common" -- "$current")
      return
   fi
   case $command/$second in
      /) words=$commands ;;
      terminals/ | reset/device)
         _zerovactl_complete_device "$current"
         return
         ;;
      uri/) words='check compare' ;;
      reset/) words='terminal device' ;;
      settings/) words='check' ;;
      settings/check)
         mapfile -t COMPREPLY < <(compgen -d -- "$current")
         return
         ;;
   esac
   mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _zerovactl zerovactl
