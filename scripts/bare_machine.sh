#!/usr/bin/env bash
# Tries the two commands of the README on machines that have nothing but what
# debootstrap puts there: Debian 12 in a folder, entered by chroot, as root. The
# first machine gets ./test.sh before ./run.sh and a user with sudo, the second
# ./run.sh before ./test.sh and root; the tests run on the second one alone.
# Machines find packages where this machine does, and share a compiler cache.
#
#   scripts/bare_machine.sh          tries the last commit
#   scripts/bare_machine.sh --check  tells by its exit code whether it could
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

suite=bookworm
results=$root/build/bare
checkout=/quillmarch
title=墨舟卷轴翻页器
patience=3000 # seconds that a build and a window may take

# A machine needs mounts that vanish with the processes in it.
can_make_machines() {
    [[ $(id -u) -eq 0 ]] && command -v apt-get >/dev/null && unshare --mount true 2>/dev/null \
        && install_packages bare && [[ -n $(mirror) ]]
}

# The packages of Debian that this machine knows of, as lines for apt.
debian_sources() {
    apt-get indextargets --format "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] \
\$(REPO_URI) \$(RELEASE) \$(COMPONENT)" 'Created-By: Packages' 'Origin: Debian' | sort -u
}

mirror() {
    debian_sources | awk -v suite="$suite" '$4 == suite { print $3; exit }'
}

# Makes the file system of a machine in the folder "$1".
make_machine() {
    local address more=ccache
    address=$(mirror)
    if [[ $address == https:* ]]; then
        more+=,ca-certificates
    fi
    debootstrap --variant=minbase --include="$more" "$suite" "$1" "$address" >"$results/debootstrap.log" 2>&1 \
        || die "debootstrap failed, see $results/debootstrap.log"
    debian_sources >"$1/etc/apt/sources.list"
    apt-config dump | grep -E '^Acquire::[^ ]*(Check|Proxy|Retries|Timeout)' >"$1/etc/apt/apt.conf.d/90host" || true
    cp -L /etc/resolv.conf "$1/etc/resolv.conf"
    mkdir -p "$1/ccache"
}

# Clones the commit into the machine "$1" for its user "$2".
clone_into() {
    git -c safe.directory='*' clone -q --no-hardlinks "$root" "$1$checkout"
    git -C "$1$checkout" checkout -q --detach "$commit"
    git -C "$1$checkout" remote remove origin
    chroot "$1" chown -R "$2:" "$checkout"
}

# Gives the machine "$1" a user who may use sudo.
add_user() {
    chroot "$1" env DEBIAN_FRONTEND=noninteractive sh -c \
        'apt-get -q update && apt-get -q -y --no-install-recommends install sudo' >"$results/sudo.log" 2>&1
    chroot "$1" useradd --create-home --shell /bin/bash somebody
    echo 'somebody ALL=(ALL) NOPASSWD: ALL' >"$1/etc/sudoers.d/somebody"
}

# Runs a command in the machine "$1" as its user "$2", from another folder than
# the checkout. The environment is what a login gives; "$3" is the display.
in_machine() {
    local machine=$1 user=$2 display=$3
    local -a environment=(PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8
        CCACHE_DIR=/ccache CCACHE_NOHASHDIR=1 CCACHE_UMASK=000 CMAKE_CXX_COMPILER_LAUNCHER=ccache)
    local home=/root
    if [[ $user != root ]]; then
        home=/home/$user
    fi
    environment+=("HOME=$home" "USER=$user")
    if [[ -n $display ]]; then
        environment+=("DISPLAY=$display")
    fi
    shift 3
    # shellcheck disable=SC2016  # expanded in the new shell
    exec unshare --mount --propagation private bash -c '
        set -e
        mount -t proc proc "$1/proc"
        mount --rbind /dev "$1/dev"
        mount --bind "$2" "$1/ccache"
        exec chroot --userspec="$3" "$1" env --ignore-environment --chdir=/tmp "${@:4}"' \
        enter "$machine" "$cache" "$user" "${environment[@]}" "$@" </dev/null
}

# Does a step, of the name "$1", and takes its time.
timed() {
    local start=$SECONDS
    step=$1
    say "$step"
    ("${@:2}") # no "||" here: a failure inside would go unseen
    printf '%6d s  %s\n' "$((SECONDS - start))" "$step" >>"$results/times.txt"
    step=
}

start_screen() {
    local number
    number=$(mktemp)
    mkdir "$scratch/screen"
    Xvfb -screen 0 1400x1000x24 -dpi 96 -nolisten tcp -fbdir "$scratch/screen" -displayfd 3 3>"$number" 2>/dev/null &
    screen=$!
    until [[ -s $number ]]; do
        kill -0 "$screen" || die "Xvfb does not start"
        sleep 0.1
    done
    DISPLAY=:$(<"$number")
    export DISPLAY
    rm "$number"
}

photograph() {
    PYTHONPATH=$root/tests/e2e python3 -B -c 'import pathlib, sys; from picture import Picture
Picture.from_xwd(pathlib.Path(sys.argv[1]).read_bytes()).write_png(sys.argv[2])' "$scratch/screen/Xvfb_screen0" "$1"
}

# Starts ./run.sh in the machine "$1" as "$2", waits for the window, keeps a
# picture of it as "$3" and ends the program.
show_window() {
    local process window='' end=$((SECONDS + patience))
    (in_machine "$1" "$2" "$DISPLAY" "$checkout/run.sh") &
    process=$!
    until window=$(xdotool search --onlyvisible --name "^$title\$" 2>/dev/null) && [[ -n $window ]]; do
        kill -0 "$process" 2>/dev/null || die "./run.sh ended without a window"
        [[ $SECONDS -lt $end ]] || die "no window came up"
        sleep 0.5
    done
    sleep 2 # until it is painted
    photograph "$results/$3"
    xdotool windowfocus "$window" key ctrl+x
    wait "$process"
}

make_pdf() {
    (in_machine "$1" "$2" '' "$checkout/run.sh")
    [[ $(head -c 5 "$1$checkout/build/release/long-chat.pdf") == %PDF- ]] || die "./run.sh made no PDF file"
}

build_tests() {
    in_machine "$1" "$2" '' "$checkout/test.sh" --show-only
}

run_all_tests() {
    in_machine "$1" "$2" '' "$checkout/test.sh"
}

clean_up() {
    if [[ -n ${step:-} ]]; then
        say "FAILED: $step"
    fi
    if [[ -n ${screen:-} ]]; then
        kill "$screen"
        wait "$screen" || true
    fi
    rm -rf --one-file-system "$scratch"
}

if [[ ${1:-} == --check ]]; then
    can_make_machines >&2
    exit
fi
can_make_machines || die "needs root, apt, debootstrap and mounts"
commit=$(git -c safe.directory='*' -C "$root" rev-parse HEAD)
scratch=$(mktemp -d)
cache=$scratch/ccache
trap clean_up EXIT
mkdir -p "$results" "$cache"
chmod 777 "$cache"
rm -f "$results"/*
start_screen

first=$scratch/first
second=$scratch/second
timed "debootstrap" make_machine "$first"
cp -a "$first" "$second"
add_user "$first"
clone_into "$first" somebody
clone_into "$second" root

timed "a user with sudo: ./test.sh first, without running the tests" build_tests "$first" somebody
timed "the user, then the same again" build_tests "$first" somebody
timed "the user, then ./run.sh without a display" make_pdf "$first" somebody
timed "the user, then ./run.sh with a display" show_window "$first" somebody user.png
rm -rf --one-file-system "$first"

timed "root: ./run.sh first, with a display" show_window "$second" root root.png
timed "root, then ./run.sh without a display" make_pdf "$second" root
timed "root, then ./test.sh" run_all_tests "$second" root
say "Both commands work on a bare machine"
cat "$results/times.txt"
