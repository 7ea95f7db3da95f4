#!/bin/sh
# The command from end to end on small models: answers, files, exit codes. Catches a wrong exit code, a silent end, an
# error text that names no file, output that is not JSON or CSV.
# Usage: command.sh COMMAND EXAMPLES_DIR
set -u
command=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
examples=$(cd "$2" && pwd)
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 2
bad=0
fail() { echo "FAILED $1"; sed 's/^/    out: /' out; sed 's/^/    err: /' err; bad=1; }
# expect CODE "what" ARGUMENTS...: runs the command and compares its exit code; output lies in out and err.
expect() {
  code=$1 what=$2
  shift 2
  "$command" "$@" > out 2> err
  got=$?
  [ $got = "$code" ] || fail "$what: exit code $got, not $code"
}
says() { grep -qE "$2" "$1" || fail "$1 lacks \"$2\""; }
cp "$examples"/power.* "$examples"/diet.mps .

# Answers.
expect 0 "version" --version
says out '^tavstoch [0-9]+\.[0-9]+'
expect 0 "solve" solve power.cor power.tim power.sto --check
says out '^status +optimal'
says out '^objective +381\.853'
says out '^ +mean +381\.853'
says out '^check +passed'
[ "$(grep -c '^  PLANT' out)" = 4 ] || fail "first stage by name"
[ "$(awk '/probability/ {on = 1; next} /^check/ {on = 0} on' out | wc -l)" = 3 ] || fail "one line a scenario"
expect 0 "solve with presolve" solve power.cor power.tim power.sto --presolve --check --quiet
says out '^optimal 381\.853'
[ -e oModel.pre ] && fail "the work file of presolve stays"
expect 0 "solve with presolve at a level" solve power.cor power.tim power.sto --presolve 1 --check
expect 0 "solve by the letter" solve power.cor power.tim power.sto --strict --quiet
says out '^optimal 381\.853'
[ "$(wc -l < out)" = 1 ] || fail "--quiet prints one line"
[ -s err ] && fail "nothing on stderr"
expect 0 "solve as JSON with a solution file" solve power.cor power.tim power.sto --json --solution solution.csv
says out '"status": "optimal"'
says out '"scenarios": 3'
grep -q QRT out && fail "messages of the library in the JSON"
# 4 nodes: 2 rows and 4 columns at the root, 7 rows and 12 columns in each scenario, one line of titles.
[ "$(wc -l < solution.csv)" = $((1 + 6 + 3 * 19)) ] || fail "solution.csv has $(wc -l < solution.csv) lines"
awk -F, 'NF != 6 { exit 1 }' solution.csv || fail "solution.csv: fields"
grep -q '^1,1,column,PLANT1,' solution.csv || fail "solution.csv: names"
expect 0 "solve by cycles" solve power.cor power.tim power.sto --method lshaped --cut stage:2 --no-final --check
says out '^cycle +[0-9]+ +bounds +381\.8533333 +381\.8533333'
says out '^objective +381\.853'
says out '^ +mean +381\.853'
expect 0 "solve by cycles as JSON" solve power.cor power.tim power.sto --method lshaped --gap 1e-6 --cycles 50 --json
says out '"cuts":'
expect 3 "a run cut off leaves its state" solve power.cor power.tim power.sto --method lshaped --no-final --cycles 2 --save-state "$work/run.state"
expect 0 "and goes on from there" solve power.cor power.tim power.sto --method lshaped --no-final --resume "$work/run.state" --check
expect 65 "a state that is none" solve power.cor power.tim power.sto --method lshaped --resume power.cor
expect 0 "solve by nested decomposition" solve power.cor power.tim power.sto --method nested --cut rows:7 --no-final --check
says out '^cycle +[0-9]+ +bounds +381\.8533333 +381\.8533333'
says out '^ +mean +381\.853'
expect 0 "nested with the final solve as JSON" solve power.cor power.tim power.sto --method nested --json
says out '"cuts":'
says out '"status": "optimal"'
expect 3 "a nested run cut off" solve power.cor power.tim power.sto --method nested --cut models:3 --cycles 2 --no-final
expect 65 "a nested cut into one model" solve power.cor power.tim power.sto --method nested --cut models:1
expect 3 "a nested run cut off leaves its state" solve power.cor power.tim power.sto --method nested --cut models:3 --cycles 3 --no-final --save-state "$work/nested.state"
expect 0 "and goes on from there" solve power.cor power.tim power.sto --method nested --cut models:3 --no-final --resume "$work/nested.state" --check
expect 65 "a state of another cut" solve power.cor power.tim power.sto --method nested --cut models:2 --resume "$work/nested.state"
expect 65 "a state of another method" solve power.cor power.tim power.sto --method nested --resume "$work/run.state"
expect 0 "models of a cut" info power.cor power.tim power.sto --cut models:2
expect 64 "no such cut" info power.cor power.tim power.sto --cut half
expect 64 "a cut of another sign" info power.cor power.tim power.sto --cut rows:-1
expect 65 "a stage that is not there" info power.cor power.tim power.sto --cut stage:9
[ -s out ] && fail "sizes before a cut that cannot be"
expect 64 "a cut the method does not know" solve power.cor power.tim power.sto --method lshaped --cut rows:5
says err 'rows:5'
expect 64 "a cut of a direct solve" solve power.cor power.tim power.sto --cut stage:2
says err 'of --method lshaped and nested only'
expect 65 "a cut below the last stage" solve power.cor power.tim power.sto --method lshaped --cut stage:3
expect 64 "a gap that is no number" solve power.cor power.tim power.sto --method lshaped --gap nan
expect 64 "no gap at all" solve power.cor power.tim power.sto --method lshaped --gap 0
expect 0 "info" info power.cor power.tim power.sto
says out '^scenarios +3'
says out '^equivalent +23 rows, 40 columns'
says out '^random +1 elements'
expect 0 "lp with presolve" lp diet.mps --presolve 47 --check
expect 0 "lp" lp diet.mps --check
says out '^objective +17\.14285714'
expect 0 "lp maximised" lp diet.mps --maximize --quiet
says out '^optimal 36'
for mode in 0 1 2 3; do
  expect 0 "lp mode $mode" lp diet.mps --mode $mode --quiet
  says out '^optimal 17\.142857'
done
for algorithm in primal dual either; do
  expect 0 "lp by $algorithm" lp diet.mps --algorithm $algorithm --check --log told.log
  says out '^objective +17\.14285714'
  says out '^check +passed'
  # Only the library's own choice is told.
  if [ $algorithm = either ]; then says told.log "algorithm has been chosen"; else ! grep -q "algorithm has been chosen" told.log || fail "lp by $algorithm chose for itself"; fi
done
expect 64 "an algorithm of no kind" lp diet.mps --algorithm barrier
for way in --scale "--crash 1" "--crash 2" "--scale --crash 3"; do
  expect 0 "lp $way" lp diet.mps $way --check
  says out '^objective +17\.14285714'
  says out '^check +passed'
  expect 0 "solve $way" solve power.cor power.tim power.sto $way --check
  says out '^objective +381\.853'
done

# Parametric: a table that begins at the plain optimum; every line is a solve of its own.
cat > line.csv <<'END'
# a dearer first plant, and demand that grows
objective, PLANT1, 2.5
rowlower,BASE,1
END
expect 0 "parametric" parametric power.cor power.tim power.sto line.csv --to 1 --step 0.25
[ "$(wc -l < out)" = 6 ] || fail "one line a lambda and a title"
says out '^lambda,status,value$'
says out '^0,optimal,381\.853'
expect 0 "parametric to a file" parametric power.cor power.tim power.sto line.csv --to 1 --step 0.25 --csv table.csv
says table.csv '^1,optimal,'
says out '^ +0\.25  optimal'
expect 0 "parametric as JSON" parametric power.cor power.tim power.sto line.csv --from 1 --to 1 --json
[ "$(grep -c '"lambda"' out)" = 1 ] || fail "one step"
echo "rowupper,BUDGET,-40" > poor.csv
expect 0 "parametric through infeasible" parametric power.cor power.tim power.sto poor.csv --to 2 --step 1
says out '^2,infeasible,$'
for line in "rowlower,NOROW,1" "colour,PLANT1,1" "objective,PLANT1,dear" "objective,PLANT1" "" "objective,PLANT1,1x"; do
  echo "$line" > wrong.csv
  expect 65 "parametric: $line" parametric power.cor power.tim power.sto wrong.csv
  says err '^tavstoch: .*wrong'
done
expect 65 "parametric without a file" parametric power.cor power.tim power.sto absent.csv
expect 65 "parametric from a folder" parametric power.cor power.tim power.sto .
says err 'is a directory'
expect 64 "parametric to infinity" parametric power.cor power.tim power.sto line.csv --to inf
expect 64 "parametric by tiny steps" parametric power.cor power.tim power.sto line.csv --step 1e-300
expect 64 "parametric without a step" parametric power.cor power.tim power.sto line.csv --step 0
for way in --idiot "--scale --idiot" "--idiot --mode 3"; do
  expect 0 "lp $way" lp diet.mps $way --check
  says out '^objective +17\.14285714'
  says out '^check +passed'
done
expect 64 "two crashes" lp diet.mps --idiot --crash 1
for way in "" --binary "--pairs 1"; do
  expect 0 "convert $way" convert diet.mps other.mps $way
  expect 0 "lp of what was converted" lp other.mps --quiet
  says out '^optimal 17\.142857'
done
# Stochastic programs to other triples, to a native file and back: the optimum stays.
for way in "" --add; do
  expect 0 "convert a triple $way" convert power.cor power.tim power.sto o.cor o.tim o.sto $way
  says out '^written .*o\.sto: 2 stages, 3 scenarios, 4 nodes'
  expect 0 "solve of what was converted" solve o.cor o.tim o.sto --strict --quiet
  says out '^optimal 381\.853'
done
expect 0 "convert to a native file" convert power.cor power.tim power.sto power.nat
expect 0 "convert from a native file" convert --native power.nat o.cor o.tim o.sto
expect 0 "solve of what was native" solve o.cor o.tim o.sto --strict --quiet
says out '^optimal 381\.853'
expect 65 "convert to nowhere" convert power.cor power.tim power.sto absent/o.cor o.tim o.sto
says err '^tavstoch: .*absent'
expect 65 "noise as native file" convert --native power.sto o.cor o.tim o.sto
expect 65 "no native file" convert --native absent.nat o.cor o.tim o.sto
says err '^tavstoch: .*absent'
expect 64 "a triple into one file" convert power.cor power.tim power.sto o.cor o.tim o.tim
expect 64 "three files" convert power.cor power.tim power.sto
# What has no effect on files of this kind is told.
for way in --add --strict --inherit; do expect 64 "MPS files $way" convert diet.mps unwanted.mps $way; done
for way in --free --binary "--pairs 1"; do expect 64 "a triple $way" convert power.cor power.tim power.sto o.cor o.tim o.sto $way; done
expect 64 "additions to a native file" convert power.cor power.tim power.sto unwanted.nat --add
expect 64 "inheritance from a native file" convert --native power.nat o.cor o.tim o.sto --inherit
[ -e unwanted.mps ] || [ -e unwanted.nat ] && fail "a refused conversion writes"
# Samples: the same seed the same file, frequencies of so many draws.
expect 0 "sample" sample power.cor power.tim power.sto s1.cor s1.tim s1.sto --draws 8 --seed 7
expect 0 "sample again" sample power.cor power.tim power.sto s2.cor s2.tim s2.sto --draws 8 --seed 7
cmp -s s1.sto s2.sto || fail "the same seed gives another sample"
awk '/^ SC/ { n++; p = $4 * 8; if (p != int(p)) exit 1; sum += p } END { exit !(n == 3 && sum == 8) }' s1.sto || fail "frequencies of 8 draws"
expect 0 "sample of another seed" sample power.cor power.tim power.sto s2.cor s2.tim s2.sto --draws 8 --seed 8
cmp -s s1.sto s2.sto && fail "another seed gives the same sample"
expect 0 "solve of a sample" solve s1.cor s1.tim s1.sto --quiet
says out '^optimal'
expect 64 "no draws" sample power.cor power.tim power.sto s1.cor s1.tim s1.sto --draws 0
expect 65 "convert without a target folder" convert diet.mps absent/other.mps
says err '^tavstoch: .*other'
expect 64 "crash of no type" lp diet.mps --crash 5
expect 0 "log" lp diet.mps --quiet --log log.txt
says log.txt 'QRT[0-9]{4}I'

# A constant in the objective: the right-hand side of its row, subtracted.
sed 's/^    RHS       BUILD/    RHS       COST              81.0\n&/' power.cor > constant.cor
expect 0 "constant" solve constant.cor power.tim power.sto --check
says out '^objective +300\.853'
says out 'constant -81 '
says out '^ +mean +300\.853'

# Outcomes that are no optimum.
sed 's/WEIGHT            12\.0/WEIGHT             2.0/' diet.mps > infeasible.mps
expect 1 "infeasible with presolve" lp infeasible.mps --presolve --check
expect 1 "infeasible" lp infeasible.mps --check
says out '^status +infeasible'
sed '/WEIGHT  *12\.0/d' diet.mps > unbounded.mps
sed 's/L  WEIGHT/G  WEIGHT/' unbounded.mps > unbounded2.mps
expect 2 "unbounded with presolve" lp unbounded2.mps --maximize --presolve 35 --check
expect 2 "unbounded" lp unbounded2.mps --maximize --check
says out '^status +unbounded'
sed 's/BUDGET           120\.0/BUDGET            20.0/' power.cor > poor.cor
expect 1 "infeasible program" solve poor.cor power.tim power.sto --quiet
says out '^infeasible'

# Usage.
expect 64 "no subcommand"
expect 64 "unknown option" lp diet.mps --nonsense
expect 64 "missing argument" solve power.cor power.tim
expect 64 "mode out of range" lp diet.mps --mode 4
expect 0 "help" --help

# Bad input: code 65 and a line that says why, whatever the file holds.
refused() { # refused "what" PATTERN ARGUMENTS...
  pattern=$2 what=$1
  shift 2
  expect 65 "$what" "$@"
  says err "^tavstoch: .*$pattern"
}
refused "no file" "absent" lp absent.mps
refused "a folder" "directory" lp .
: > empty
refused "empty file" "empty" lp empty
head -c 2000 /dev/urandom > noise
refused "noise" "noise" lp noise
refused "noise as core" "noise" solve noise power.tim power.sto
refused "noise as time" "noise" solve power.cor noise power.sto
refused "noise as stoch" "noise" solve power.cor power.tim noise
refused "files in the wrong order" "TIME" solve power.cor power.sto power.tim
sed '/^COLUMNS/,$d' diet.mps > cut.mps
refused "cut after ROWS" "" lp cut.mps
sed 's/^COLUMNS/NONSENSE/' diet.mps > typo.mps
refused "unknown section" "" lp typo.mps
sed 's/PLANT1    BUILD/PLANT9    BUILD/' power.tim > wrong.tim
refused "unknown column in the time file" "" solve power.cor wrong.tim power.sto
sed 's/BASE      /BOSE      /' power.sto > wrong.sto
refused "unknown row in the stoch file" "" solve power.cor power.tim wrong.sto
sed 's/INDEP         DISCRETE/INDEP         NORMAL/' power.sto > normal.sto
refused "a distribution that is not offered" "" solve power.cor power.tim normal.sto
sed 's/3\.0   OPERATE/nan   OPERATE/' power.sto > nan.sto
refused "not a number" "" solve power.cor power.tim nan.sto
refused "too many scenarios" "max-scenarios" solve power.cor power.tim power.sto --max-scenarios 2
refused "log that cannot be written" "cannot be written" lp diet.mps --log /nonexistent/log
refused "an empty name" "name" lp ""
refused "a state that cannot be written" "absent/run.state" solve power.cor power.tim power.sto --method lshaped --save-state absent/run.state
refused "a state on a full disk" "a state could not be written" solve power.cor power.tim power.sto --method nested --save-state /dev/full --quiet
says out '^optimal 381\.853'
refused "a solution that cannot be written" "absent/s.csv" lp diet.mps --solution absent/s.csv --json
[ -s out ] && fail "it solved first"

# A card the reader could not use: the rest would be another program. An unknown name is told, a number that is none refused.
sed 's/10\.0$/ nan/; s/10\.0 / nan /' diet.mps > nan.mps
refused "no number in a model" "Invalid numeric value" lp nan.mps
sed 's/   6\.0/   nan/' power.cor > nan.cor
refused "no number in a core" "Invalid numeric value" solve nan.cor power.tim power.sto
sed 's/PLANT4    BUDGET             6\.0   LIM4/PLANT4    BUDGET             6.0   NOWT/' power.cor > odd.cor
expect 0 "an unknown row in a core" solve odd.cor power.tim power.sto --quiet
says err '^tavstoch: Row name NOWT'
sed 's/0\.[34]$/0.0/' power.sto > zero.sto
refused "no probability at all" "probability" solve power.cor power.tim zero.sto
sed 's/ 7\.0   OPER/7.e40   OPER/' power.sto > large.sto
expect 70 "a bound beyond all bounds" solve power.cor power.tim large.sto
says err 'Invalid bound combination'

# Output that goes nowhere: the exit code tells, and a line why.
"$command" lp diet.mps > /dev/full 2> err
[ $? = 65 ] || fail "a full disk passes for an answer"
says err '^tavstoch: standard output: '
"$command" lp diet.mps >&- 2> err
[ $? = 65 ] || fail "no standard output"
says err '^tavstoch: standard output is closed'
"$command" solve power.cor power.tim power.sto --solution late.csv 2> err | :
[ -s late.csv ] || fail "a reader that goes away takes the solution with it"
refused "a solution on a full disk" "/dev/full: cannot be written" lp diet.mps --solution /dev/full
refused "a log on a full disk" "/dev/full: cannot be written" lp diet.mps --log /dev/full
# A pipe is read where one reading is enough.
cat diet.mps | "$command" lp /dev/stdin --quiet > out 2> err || fail "a model from a pipe"
says out '^optimal 17\.142857'
mkfifo pipe
refused "a core from a pipe" "no regular file" solve pipe power.tim power.sto
exit $bad
