#!/usr/bin/env bash
# What the simulator promises as a program on every system, and the script that runs the demo.
#
#    programs_test.sh BUILD_DIR [EMULATOR]
#
# EMULATOR starts programs of another system, which have no files for their endpoints and no signals.
set -uo pipefail

build=$1
here=$(cd "$(dirname "$0")" && pwd)
emulator=("${@:2}")
bench=$here/../../examples/benches/laboratory.toml
if [ ${#emulator[@]} -eq 0 ]; then
   service=("$build/tools/simulator/zerova-simulator")
else
   service=("${emulator[@]}" "$build/zerova-simulator.exe")
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0

# expect WHAT EXPECTED ACTUAL
expect()
{
   if [ "$2" = "$3" ]; then
      echo "ok   $1"
   else
      printf 'FAIL %s\n   expected: %s\n   actual:   %s\n' "$1" "$2" "$3"
      failures=$((failures + 1))
   fi
}

# run INPUT ARGUMENT...: runs the simulator with INPUT as its standard input; sets code, out and err.
run()
{
   local input=$1
   shift
   printf '%s' "$input" | "${service[@]}" "$@" >"$folder/out" 2>"$folder/err"
   code=$?
   out=$(tr -d '\r' <"$folder/out")
   err=$(tr -d '\r' <"$folder/err")
}

run "" --help
expect "help ends well" 0 "$code"
expect "help goes to standard output" "Usage: zerova-simulator [OPTIONS] [FILE] [SUBCOMMAND]" "$(grep '^Usage' <<<"$out")"

run "" check "$bench"
expect "a good file is summed up" "5 devices, 20 terminals, 5 lines, 0 rules, 0 faults" "${out##*toml: }"

run "" "$bench" --nothing
expect "an unknown option is a wrong use" 2 "$code"
expect "an unknown option is named" yes "$(grep -q -e --nothing <<<"$err" && echo yes)"

run "" "$bench" --tcp own --port
expect "a missing value is a wrong use" 2 "$code"
expect "a missing value is named" yes "$(grep -q -e --port <<<"$err" && echo yes)"

run "" "$bench" --tcp own --port 65536
expect "a port that is none is a wrong use" 2 "$code"

run "" "$bench" --tcp 192.0.2.1 --no-local
expect "an address that others can reach is refused" 3 "$code"

run "lines that nobody reads
" "$bench" --tcp own --endpoint-dir "$folder/run"
expect "the end of the input ends the service well" 0 "$code"
expect "the sockets and their folder are gone then" "" "$(ls "$folder" | grep -x run)"
expect "the ready line names all endpoints" "ready  local $folder/run  tcp ADDRESS  locator ADDRESS:3580" \
   "$(sed -E 's/tcp 127[0-9.]+:[0-9]+/tcp ADDRESS/; s/127[0-9.]+:3580/ADDRESS:3580/' <<<"$out")"

run "" "$bench" --endpoint-dir "$folder/run"
expect "local endpoints alone can be had" "ready  local $folder/run" "$out"

run "" "$bench" --no-local --no-locator --tcp own
expect "TCP alone can be had" "ready  tcp ADDRESS" "$(sed -E 's/127[0-9.]+:[0-9]+/ADDRESS/' <<<"$out")"

# start: runs a service with its endpoints under $folder/run until its input is closed or it is told.
start()
{
   coproc SERVICE { exec "${service[@]}" "$bench" --tcp own --endpoint-dir "$folder/run" 2>"$folder/err"; }
   pid=$!
   exec {input}>&"${SERVICE[1]}" {output}<&"${SERVICE[0]}"
   read -r ready <&"$output"
}

if [ ${#emulator[@]} -ne 0 ]; then
   start
   expect "a service tells that it is ready" "ready  local" "${ready:0:12}"
   run "" "$bench" --endpoint-dir "$folder/run"
   expect "a second service is refused" 3 "$code"
   expect "the second says why" "another process serves the endpoint" "$(grep -o 'another .* endpoint' <<<"$err")"
   service_input=${SERVICE[1]}
   exec {input}>&- {output}<&- {service_input}>&-
   wait "$pid"
   expect "the end of its input ends the first well" 0 $?
   run "" "$bench" --endpoint-dir "$folder/run"
   expect "the endpoints are free then" 0 "$code"
   echo
   [ "$failures" -eq 0 ] || { echo "$failures failed"; exit 1; }
   exit 0
fi

for signal in TERM:0 INT:130; do
   start
   expect "the local endpoints are there" "com.zerova com.zerova.immediate" "$(ls "$folder/run" | xargs)"
   run "" "$bench" --endpoint-dir "$folder/run"
   expect "a second service is refused" 3 "$code"
   expect "the second says why" \
      "zerova-simulator: another process serves the endpoint $folder/run/com.zerova" "$err"
   expect "the first keeps its endpoints" "com.zerova com.zerova.immediate" "$(ls "$folder/run" | xargs)"
   kill "-${signal%:*}" "$pid"
   wait "$pid"
   expect "SIG${signal%:*} ends the service with ${signal#*:}" "${signal#*:}" $?
   expect "the sockets are gone after SIG${signal%:*}" "" "$(ls "$folder" | grep -x run)"
   exec {input}>&- {output}<&-
done

# As a script starts it: in the background, with an input that ends at once.
mkfifo "$folder/stays"
"${service[@]}" "$bench" --endpoint-dir "$folder/run" --stay </dev/null >"$folder/stays" &
pid=$!
read -r ready <"$folder/stays"
# A second one comes after whatever the first does at the end of its input.
run "" "$bench" --endpoint-dir "$folder/run"
expect "a service that stays outlives its input" 3 "$code"
kill -TERM "$pid"
wait "$pid"
expect "one that stays ends by a signal" 0 $?
expect "its sockets are gone then" "" "$(ls "$folder" | grep -x run)"

# A build folder with the real service and a tour of our own.
mkdir -p "$folder/build/tools" "$folder/build/examples"
ln -s "$build/tools/simulator" "$folder/build/tools/simulator"
tour=$folder/build/examples/route_tour
printf '#!/bin/sh\necho "tour of $1"\nexit 7\n' >"$tour"
chmod +x "$tour"
out=$("$here/run_demo.sh" "$folder/build" 2>&1)
expect "the demo ends as its tour does" 7 $?
expect "the tour is given the address of the service" yes \
   "$(grep -q '^tour of 127\.' <<<"$out" && echo yes)"

mkfifo "$folder/started"
printf '#!/bin/sh\necho started >%s\nexec sleep 600\n' "$folder/started" >"$tour"
"$here/run_demo.sh" "$folder/build" >/dev/null 2>&1 &
pid=$!
read -r started <"$folder/started"
kill -TERM "$pid"
wait "$pid"
expect "the demo can be told to end" 143 $?
out=$("$here/run_demo.sh" "$folder/build" missing 2>&1)
expect "a missing program is a wrong use" 2 $?
expect "what builds it is told" yes "$(grep -q './dev test builds it in build/test$' <<<"$out" && echo yes)"
mv "$folder/build" "$folder/demo"
out=$("$here/run_demo.sh" "$folder/demo" missing 2>&1)
expect "of the demo's folder it is the demo" yes "$(grep -q './dev demo builds it in build/demo$' <<<"$out" && echo yes)"
out=$("$here/run_demo.sh" "$folder/demo" route_tour "" more 2>&1)
expect "an argument for the program is refused" 2 $?

echo
[ "$failures" -eq 0 ] || { echo "$failures failed"; exit 1; }
