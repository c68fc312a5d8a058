# What the scripts share. Sourced, not run.
set -euo pipefail
invoked_from=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# The first lines of a script that explain it, for --help.
explain() {
    sed -n '2,/^[^#]/{/^#/s/^# \{0,1\}//p}' "$1"
}

if [ "${1:-}" = --help ] || [ "${1:-}" = -h ]; then
    case "$(basename "$0")" in
        run) ;;  # its arguments belong to the program
        *) explain "$0"; exit 0 ;;
    esac
fi
