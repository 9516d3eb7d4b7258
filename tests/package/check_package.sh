#!/usr/bin/env bash
# Makes the Debian package from an already built tree with CPack (no second
# build) and checks it as dpkg, the desktop and AppStream validators, man and
# systemd see it; then runs the recorder the way its unit does, on the
# packaged programs.
#   check_package.sh CPACK BUILD_DIR VERSION
set -euo pipefail

cpack=$1
build=$2
version=$3

tmp=$(mktemp -d)
sim_pid=""
rec_pid=""
cleanup() {
  for pid in $rec_pid $sim_pid; do
    kill "$pid" 2>/dev/null || true
  done
  rm -rf "$tmp"
}
trap cleanup EXIT

failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# Which program holds which pseudo-terminal: said when the recorder can't open its own.
pty_holders() {
  local fd
  for fd in /proc/[0-9]*/fd/*; do
    case $(readlink "$fd" 2>/dev/null) in
    /dev/pts/*) echo "$(cut -d/ -f3 <<<"$fd"):$(cat "/proc/$(cut -d/ -f3 <<<"$fd")/comm" 2>/dev/null):$(readlink "$fd")" ;;
    esac
  done | sort -u | tr '\n' ' '
}

# Waits up to $1 seconds for the command after it to succeed.
wait_for() {
  local limit=$(($1 * 10))
  shift
  for ((i = 0; i < limit; i++)); do
    "$@" && return 0
    sleep 0.1
  done
  return 1
}

if ! "$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$tmp/out" >"$tmp/cpack.log" 2>&1; then
  cat "$tmp/cpack.log" >&2
  exit 1
fi
deb=$tmp/out/velmora_${version}_$(dpkg --print-architecture).deb
if [ ! -f "$deb" ]; then
  cat "$tmp/cpack.log" >&2
  echo "FAIL: no $deb" >&2
  exit 1
fi

# --- Contents: exactly these files, owned by root, programs executable.
app=org.velmora.Velmora
expected=$(sort <<EOF
-rw-r--r-- root/root ./usr/lib/systemd/system/velmora-recorder.service
-rw-r--r-- root/root ./usr/share/applications/$app.desktop
-rw-r--r-- root/root ./usr/share/doc/velmora/changelog.gz
-rw-r--r-- root/root ./usr/share/doc/velmora/copyright
-rw-r--r-- root/root ./usr/share/icons/hicolor/scalable/apps/$app.svg
-rw-r--r-- root/root ./usr/share/man/man1/velmora-sim.1.gz
-rw-r--r-- root/root ./usr/share/man/man1/velmora.1.gz
-rw-r--r-- root/root ./usr/share/metainfo/$app.metainfo.xml
-rwxr-xr-x root/root ./usr/bin/velmora
-rwxr-xr-x root/root ./usr/bin/velmora-sim
EOF
)
actual=$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $1, $2, $6 }' | sort)
if [ "$actual" != "$expected" ]; then
  fail "package contents differ (< expected, > actual):"
  diff <(echo "$expected") <(echo "$actual") >&2 || true
fi

# lintian finds no error (the warnings that stay are listed in the README).
if command -v lintian >/dev/null; then
  lintian --fail-on error "$deb" >"$tmp/lintian.log" 2>&1 ||
    fail "lintian: $(grep -E '^E: ' "$tmp/lintian.log" | tr '\n' ' ')"
else
  fail "lintian is not installed (scripts/install-deps installs it)"
fi

# dpkg-shlibdeps found the Qt libraries the programs link.
depends=$(dpkg-deb -f "$deb" Depends)
for lib in libc6 libqt6core6 libqt6serialport6 libqt6widgets6; do
  grep -qE "(^|, )$lib( |,|$)" <<<"$depends" || fail "Depends lacks $lib: $depends"
done
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "package version is not $version"

root=$tmp/root
dpkg-deb -x "$deb" "$root"
share=$root/usr/share

# --- Programs run from the package and report the project's version.
[ "$("$root/usr/bin/velmora" --version)" = "velmora $version" ] || fail "velmora --version"
[ "$("$root/usr/bin/velmora-sim" --version)" = "velmora-sim $version" ] ||
  fail "velmora-sim --version"

# --- Desktop entry and AppStream data validate, and point at each other.
desktop=$share/applications/$app.desktop
metainfo=$share/metainfo/$app.metainfo.xml
if ! out=$(desktop-file-validate "$desktop" 2>&1) || [ -n "$out" ]; then
  fail "desktop-file-validate: $out"
fi
out=$(appstreamcli validate --no-net --no-color "$metainfo" 2>&1) || fail "appstreamcli: $out"
grep -qx "Icon=$app" "$desktop" || fail "desktop entry names another icon than $app.svg"
grep -q "<launchable type=\"desktop-id\">$app.desktop</launchable>" "$metainfo" ||
  fail "metainfo launches another desktop entry"
grep -q "<release version=\"$version\"" "$metainfo" || fail "metainfo has no release $version"

# --- Man pages: valid gzip, render without warnings, and document every
# option that --help lists.
for prog in velmora velmora-sim; do
  page=$share/man/man1/$prog.1.gz
  gzip -t "$page" || fail "$prog.1.gz is not gzip"
  out=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null) ||
    fail "man $prog failed"
  [ -z "$out" ] || fail "man $prog warns: $out"
  source=$(zcat "$page" | sed 's/\\-/-/g')
  for option in $("$root/usr/bin/$prog" --help | grep -oE -- '--[a-z][a-z0-9-]*' | sort -u); do
    grep -qF -- "$option" <<<"$source" || fail "$prog.1 does not document $option"
  done
done

# --- The unit. systemd-analyze verify checks that ExecStart's program exists,
# so it looks at a copy whose ExecStart points into the extracted package.
# Its own look-up of Documentation= would run man, which caches the page
# under /var/cache/man: --man=no, and the pages are looked for here instead.
unit=$root/usr/lib/systemd/system/velmora-recorder.service
exec_start=$(sed -n 's/^ExecStart=//p' "$unit")
program=${exec_start%% *}
[ -x "$root$program" ] || fail "ExecStart runs $program, which the package does not hold"
# PrivateDevices would hide the serial ports from the service.
if grep -qiE '^PrivateDevices=(yes|true|on|1)' "$unit"; then fail "unit sets PrivateDevices"; fi
mkdir "$tmp/units"
sed "s|^ExecStart=$program|ExecStart=$root$program|" "$unit" >"$tmp/units/velmora-recorder.service"
if ! out=$(cd "$tmp" && systemd-analyze verify --man=no \
  "$tmp/units/velmora-recorder.service" 2>&1) || [ -n "$out" ]; then
  fail "systemd-analyze verify: $out"
fi
# shellcheck disable=SC2013 # one Documentation= line may name several pages
for doc in $(sed -n 's/^Documentation=//p' "$unit"); do
  if [[ $doc =~ ^man:([^()]+)\(([0-9])\)$ ]]; then
    name=${BASH_REMATCH[1]} section=${BASH_REMATCH[2]}
    [ -f "$share/man/man$section/$name.$section.gz" ] || man -w "$section" "$name" >/dev/null 2>&1 ||
      fail "unit documents $doc, which neither the package nor the system has"
  fi
done

# --- The recorder as the unit runs and stops it: its XDG_CONFIG_HOME and
# working directory (both placed under $tmp), settings naming the simulator's
# tty, its KillSignal.
config=$tmp/fs$(sed -n 's/^Environment=XDG_CONFIG_HOME=//p' "$unit")
state=$tmp/fs$(sed -n 's/^WorkingDirectory=//p' "$unit")
if [ "$config" = "$tmp/fs" ] || [ "$state" = "$tmp/fs" ]; then
  fail "unit sets no XDG_CONFIG_HOME or WorkingDirectory"
fi
mkdir -p "$config" "$state" "$tmp/home"
"$root/usr/bin/velmora-sim" --rate 5 >"$tmp/sim.out" 2>"$tmp/sim.err" &
sim_pid=$!
wait_for 10 grep -q '^/dev/' "$tmp/sim.out" || fail "velmora-sim printed no tty"
# The recorder opens the tty through a name of its own, as a udev by-id link
# would be: the serial lock then names that link, not a /dev/pts number that
# other programs on this machine may have used and locked before.
ln -s "$(head -n1 "$tmp/sim.out")" "$tmp/ttyANALYZER"
printf '[COMPORTS]\r\nPortName=%s\r\n' "$tmp/ttyANALYZER" >"$config/Tervala.ini"
# shellcheck disable=SC2086 # ExecStart's arguments are split as systemd does
(cd "$state" && exec env HOME="$tmp/home" XDG_CONFIG_HOME="$config" \
  "$root$program" ${exec_start#"$program"} >"$tmp/rec.out" 2>"$tmp/rec.err") &
rec_pid=$!
if wait_for 20 grep -qE '^[0-9T:-]+ [0-9]+ [0-9.]+$' "$tmp/rec.out"; then
  signal=$(sed -n 's/^KillSignal=//p' "$unit")
  signal=${signal:-SIGTERM}
  kill -s "${signal#SIG}" "$rec_pid"
  rc=0
  wait "$rec_pid" || rc=$?
  rec_pid=""
  [ "$rc" -eq 0 ] || fail "recorder exited $rc on $signal"
  ls "$state"/*.dat >/dev/null 2>&1 || fail "no data file in the working directory"
  grep -qs '^Stop-' "$state"/*.txt || fail "no Stop- line after $signal"
else
  fail "recorder printed no reading: $(cat "$tmp/rec.err")
serial locks: $(head -n3 /var/lock/LCK..* /run/lock/LCK..* /tmp/LCK..* 2>/dev/null | tr '\n' ' ')
ptys open: $(pty_holders)"
fi

if [ "$failures" -ne 0 ]; then
  echo "$failures check(s) failed" >&2
  exit 1
fi
echo "package: $(basename "$deb") checked"
