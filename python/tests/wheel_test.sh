#!/usr/bin/env bash
# Makes the wheel of BUILD, installs it into a folder of its own, and asks with it alone:
# wheel_test.sh PYTHON BUILD VERSION PRELOADED
set -euo pipefail
python=$1 build=$2 version=$3 preloaded=$4
example=$(cd "$(dirname "$0")/../.." && pwd)/examples/ask.py
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake --build "$build" --target velmora_wheel >"$folder/log" 2>&1 || {
  cat "$folder/log"
  exit 1
}
"$python" -m pip --disable-pip-version-check install --quiet --no-index --no-deps --no-compile \
  --root-user-action=ignore --target "$folder/packages" \
  "$build/velmora-$version-py3-none-$("$python" -c 'import sysconfig
print(sysconfig.get_platform().replace("-", "_"))').whl"

mkdir "$folder/project"
printf 'def delay_retry(attempt):\n    """Waits before another attempt."""\n' >"$folder/project/retry.py"
cd "$folder/project"
answer=$(env -u VELMORA_LIBRARY -u VELMORA_HOME PYTHONPATH="$folder/packages" \
  LD_PRELOAD="$preloaded" ASAN_OPTIONS=detect_leaks=0 \
  "$python" "$example" . "where are retries delayed")
echo "$answer"
[ "$answer" = "retry.py:1 function retry.delay_retry" ]
