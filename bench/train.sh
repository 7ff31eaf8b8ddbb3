#!/bin/sh
# Runs what the profile of the release build is made from: the programs beside this file at small sizes.
#
#   train.sh VANDRA
set -eu
vandra=$1
here=$(dirname "$0")
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

train() {
    name=$1
    shift
    "$vandra" "$here/$name.vnd" "$@" >"$place/output"
}

train count 300000
train fib 18
train fraction 100000
train sieve 100000
train words 20
train texts 5000
train parse 30000
train build 50000
train queens 6
train hanoi 12
train fill 4
train calls 20000
train say 3000
train mixed 5040
i=0
while [ $i -lt 5000 ]; do
    echo "$i of the lines of a file that isn't read for its contents"
    i=$((i + 1))
done >"$place/lines"
i=0
while [ $i -lt 1500 ]; do
    echo "/* A piece of a long program. */
value$i = $i * 2 + length('line $i')
if value$i > 100 & symbol('TOTAL') = 'VAR' then do
    total = total + value$i   /* sums up */
    table.$i.size = max(value$i, total - 17.5)
end
else say 'step' $i \"has value\" value$i || '.'
do i = 1 to 10 by 2 while total < 1e6
    name.i = substr('abcdefgh', i, 2) left(value$i, 8)
end"
    i=$((i + 1))
done >"$place/pieces"
{ echo exit; cat "$place/pieces"; } >"$place/load.vnd"
"$vandra" "$place/load.vnd"
"$(dirname "$vandra")/vcmp" -o "$place/load.vn" "$place/load.vnd" >"$place/output"
"$vandra" "$place/load.vn"
LINES_FILE=$place/lines train lines
LINES_FILE=$place/lines train execio
