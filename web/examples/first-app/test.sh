#!/bin/sh
# The application's test, as continuous integration runs it: test.sh [PATH/OF/sso-browser]. No display is
# needed. Ends with 0 when all is well; --help of sso-browser tells what other exit codes say.
set -eu
cd "$(dirname "$0")"
browser=${1:-sso-browser}
work=$(mktemp -d)
node backend.mjs "${BACKEND_PORT:-8137}" >"$work/backend" &
backend=$!
trap 'kill $backend; rm -rf "$work"' EXIT
until grep -q listening "$work/backend"; do
    kill -0 $backend
    sleep 0.1
done

visit() { "$browser" . --account account.json --profile "$work/profile" --strict --timeout 30 "$@"; }
visit --run-script test-sign-in.js --messages "$work/messages"
visit --run-script test-second-visit.js
