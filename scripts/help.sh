# Read by the other scripts at their begin: goes to the tree's root, and on --help
# shows the script's first comment, which tells its use.
set -euo pipefail
for argument; do
  if [[ $argument == -h || $argument == --help ]]; then
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit
  fi
done
cd "$(dirname "${BASH_SOURCE[0]}")/.."
