#!/usr/bin/env bash
# Starts the simulator with the bench of the laboratory, takes the tour of the library against it and ends everything again.
#
#    run_demo.sh BUILD_DIR [PROGRAM [EMULATOR]]
#
# PROGRAM is an example to run in place of the tour. It is given the address of the service, and no
# other argument: none is passed on. EMULATOR starts programs of another system.
# Ends with the exit code of the tour.
set -euo pipefail

if [ $# -lt 1 ] || [ $# -gt 3 ]; then
   echo "usage: run_demo.sh BUILD_DIR [PROGRAM [EMULATOR]]; PROGRAM is given the service's address and no other argument" >&2
   exit 2
fi
emulator=(${3:+"$3"})
bench=$(cd "$(dirname "$0")/../.." && pwd)/examples/benches/laboratory.toml
if [ ${#emulator[@]} -eq 0 ]; then
   service=$1/tools/simulator/zerova-simulator
   tour=$1/examples/${2:-route_tour}
else
   service=$1/zerova-simulator.exe
   tour=$1/${2:-route_tour}.exe
fi
for program in "$service" "$tour"; do
   if [ ! -x "$program" ]; then
      builder="./dev test builds it in build/test"
      if [ "$(basename "$1")" = demo ]; then builder="./dev demo builds it in build/demo"; fi
      echo "run_demo.sh: $program is missing; $builder" >&2
      exit 2
   fi
done

fail()
{
   echo "run_demo.sh: $1" >&2
   exit 1
}

# The service ends when its input does, so it cannot outlive this script, however that ends.
coproc SERVICE { exec "${emulator[@]}" "$service" "$bench" --tcp own; }
service_pid=$!
# Bash forgets the pipes of a service that has ended already.
input=${SERVICE[1]:-}
output=${SERVICE[0]:-}
tour_pid=

end_all()
{
   trap - INT TERM
   if [ -n "$tour_pid" ]; then
      kill "$tour_pid" 2>/dev/null || true
      wait "$tour_pid" 2>/dev/null || true
   fi
   if [ -n "$input" ]; then exec {input}>&-; fi
   wait "$service_pid"
}
trap end_all EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The service prints one line when all its endpoints are open, and none if it cannot open them.
[ -n "$output" ] && read -r ready <&"$output" || fail "the service did not start"
ready=${ready%$'\r'}
[[ $ready =~ tcp\ ([0-9.]+): ]] || fail "the service is ready without TCP: $ready"
address=${BASH_REMATCH[1]}
echo "The simulator is $ready"

# In the background, so that a signal to this script need not wait for it.
"${emulator[@]}" "$tour" "$address" &
tour_pid=$!
code=0
wait "$tour_pid" || code=$?
tour_pid=
exit "$code"
