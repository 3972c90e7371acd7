#!/bin/sh
# run_to_the_end.sh WINE PROGRAM [ARGUMENT...]: runs a program of tests, which must come to its end.
#
# A program that Wine ends, for its stack or because the server is gone, has the status 0. GoogleTest writes
# its report when the last test is done.
report=$(basename "$2" .exe).xml
rm -f "$report"
"$@" "--gtest_output=xml:$report"
status=$?
if [ $status -eq 0 ] && [ ! -s "$report" ]; then
   echo "$2 has ended with status 0 before its tests were done" >&2
   status=1
fi
exit $status
