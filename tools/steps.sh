# Tells how long the steps of a script take. Read by ./run, ./test and .ci/run.
#
# With KDMX_STEPS set to a file, each step also adds a line to it, "SECONDS<TAB>NAME", so that a script that calls others
# can show in one table where all the time went.

# step NAME COMMAND ...
#
# Runs a command, a function too, and passes its status on. Under `set -e` a command that fails ends the script there, as
# it would without this.
step() {
    local name=$1 start=$SECONDS
    shift
    echo "== $name"
    "$@"
    local status=$? took=$((SECONDS - start))
    echo "== $name took $took s"
    [ -z "${KDMX_STEPS:-}" ] || printf '%s\t%s\n' "$took" "$name" >>"$KDMX_STEPS"
    return "$status"
}

# print_steps
#
# The table of what KDMX_STEPS has collected, with the sum.
print_steps() {
    echo "== Where the time went"
    awk -F'\t' '
        { printf "%7d:%02d  %s\n", $1 / 60, $1 % 60, $2; sum += $1 }
        END { printf "%7d:%02d  together\n", sum / 60, sum % 60 }' "$KDMX_STEPS"
}
