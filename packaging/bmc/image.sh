# SPDX-License-Identifier: Apache-2.0
# Makes the image of the emulated board; sourced by scripts/bmc.
# shellcheck shell=bash
# shellcheck disable=SC2154  # root comes from scripts/lib.sh

cache=$root/build-bmc
# The machine's own.
# shellcheck disable=SC2016  # apt-get fills in the address
mirror=${MIRROR:-$(apt-get indextargets --format '$(REPO_URI)' \
    'Identifier: Packages' 'Codename: bookworm' | head -n 1)}
kernel_modules=(i2c-aspeed i2c-mux-pca954x mdio-aspeed ftgmac100)
# The last two are what the tool's and the simulator's packages depend on.
board_packages=(busybox dbus-broker dropbear-bin kmod systemd systemd-sysv
    libssl3 libstdc++6)
# For ARM and, for scripts/release, for the machine that builds.
cross_packages=(build-essential crossbuild-essential-armhf dbus debhelper
    meson ninja-build nlohmann-json3-dev libgtest-dev:armhf libstdc++6:armhf
    {pkg-config,libboost-dev,libssl-dev,libsystemd-dev}{,:armhf})

# Do something and say how long it took; its output goes to a log. $1: its
# name; $2: what is said meanwhile; then the command.
timed_step() {
    local text=$2 log=$cache/$1.log start=$SECONDS
    shift 2
    printf '== %s: ' "$text"
    # A command of a condition would go on after an error in it.
    set +e
    (set -e && "$@") >"$log" 2>&1 </dev/null
    local status=$?
    set -e
    [ $status -eq 0 ] || { echo && explain "$text" "$log"; }
    printf '%s s\n' $((SECONDS - start))
}

# Take a step unless it was taken with the same key. $1: its name; $2: the key;
# $3: what is said meanwhile; then the command.
step() {
    local name=$1 key=$2
    shift 2
    [ "$(cat "$cache/$name.key" 2>/dev/null)" = "$key" ] && return
    rm -f "$cache/$name.key"
    timed_step "$name" "$@"
    printf '%s\n' "$key" >"$cache/$name.key"
}

# One sentence about a step that failed.
explain() {
    if grep -qE 'unexpected size|Hash Sum mismatch|Mirror sync' "$2"; then
        fail "the package mirror is out of step for one architecture;" \
            "try later or name another in MIRROR ($2)"
    elif grep -qE 'Failed to fetch|^E: .*Release' "$2"; then
        fail "the package mirror $mirror cannot be read ($2)"
    fi
    fail "this failed: $1; see $2"
}

# What the contents of the named files and folders are.
contents() {
    (cd "$root" && git ls-files -z -co --exclude-standard -- "$@" |
        sort -z | xargs -0 sha256sum 2>/dev/null | sha256sum)
}

# Let the kernel run programs for ARM.
enable_arm() {
    local folder=/proc/sys/fs/binfmt_misc
    [ -e $folder/register ] ||
        mount -t binfmt_misc binfmt_misc $folder 2>/dev/null || true
    [ -e $folder/qemu-arm ] ||
        cat /usr/lib/binfmt.d/qemu-arm.conf >$folder/register 2>/dev/null ||
        true
    arch-test armhf >/dev/null 2>&1 ||
        fail "this kernel runs no programs for ARM: it has no binfmt_misc," \
            "or nothing may be registered with it"
}

# A root of Debian 12 without its papers. $1: folder; then options.
debian_root() {
    local folder=$1 path papers=()
    shift
    rm -rf "$folder"
    for path in doc info locale man; do
        papers+=("--dpkgopt=path-exclude=/usr/share/$path/*")
    done
    mmdebstrap --mode=root "${papers[@]}" "$@" bookworm "$folder" "$mirror"
}

cross_root() {
    local native
    native=$(dpkg --print-architecture)
    debian_root "$cache/cross" --architectures="$native,armhf" --variant=apt \
        --include="$(IFS=, && echo "${cross_packages[*]}")"
    # What is built runs in there, too.
    cp /usr/bin/qemu-arm-static "$cache/cross/usr/bin/qemu-arm"
}

board_root() {
    rm -rf "$cache/kernel"
    mkdir "$cache/kernel"
    export root
    # The inner shell is the one that expands these.
    # shellcheck disable=SC2016
    debian_root "$cache/board" --arch=armhf --variant=essential \
        --include="$(IFS=, && echo "${board_packages[*]}")" \
        --customize-hook='bash -euc ". \"\$root/packaging/bmc/image.sh\"
            fetch_kernel"'
}

# Unpack the kernel's package: its installation would take minutes in emulation.
# Runs in mmdebstrap, whose package lists are for ARM.
fetch_kernel() {
    local package
    export APT_CONFIG=$MMDEBSTRAP_APT_CONFIG
    package=$(apt-cache depends linux-image-armmp:armhf |
        sed -n 's/.*Depends: \(linux-image-[^ :]*\).*/\1/p')
    cd "$cache/kernel"
    apt-get download "$package"
    dpkg-deb -x ./*.deb .
    rm ./*.deb
    depmod -b . "$(ls lib/modules)"
}

# Run a command in the root with the cross compiler. $1: its folder there.
in_cross() {
    local folder=$1
    shift
    # Mounts end with the namespace.
    # The inner shell is the one that expands these.
    # shellcheck disable=SC2016
    unshare -m sh -ec 'mount -t proc proc "$0/proc"
        mount --rbind /dev "$0/dev"
        exec chroot "$0" /bin/sh -ec "cd $1; shift; exec \"\$@\"" sh "$@"' \
        "$cache/cross" "$folder" "$@"
}

# Put the tree as it is into the root with the cross compiler.
copy_sources() {
    local target=$cache/cross/src
    mkdir -p "$target"
    # Builds of other days stay, for their object files.
    find "$target" -mindepth 1 -maxdepth 1 ! -name 'obj-*' ! -name 'build-*' \
        -exec rm -rf {} +
    (cd "$root" && git ls-files -z -co --exclude-standard |
        tar -c --null --ignore-failed-read -T -) | tar -x -C "$target"
}

# Build the Debian packages beside a folder of sources in the root. $1: the
# folder there; $2: architecture; then options of dpkg-buildpackage.
build_packages_of() {
    rm -f "$cache/cross$1"/../*.deb
    # dpkg-buildpackage looks for it nowhere else.
    mv "$cache/cross$1/packaging/debian" "$cache/cross$1/debian"
    in_cross "$1" env LC_ALL=C DEB_BUILD_OPTIONS='nocheck noautodbgsym' \
        dpkg-buildpackage -a"$2" --build=binary --no-sign "${@:3}"
}

build_packages() {
    copy_sources
    # Objects of the build before are of use.
    build_packages_of /src armhf -nc
}

# The board's keys, the packages and what packaging/bmc/root holds.
furnish() {
    local target=$cache/image version
    version=$(ls "$cache/kernel/lib/modules")
    rm -rf "$target"
    cp -a "$cache/board" "$target"
    cp "$cache"/cross/*.deb "$target/tmp"
    chroot "$target" sh -ec 'dpkg -i /tmp/*.deb
        rm /tmp/*.deb
        mkdir -p /etc/dropbear /root/.ssh
        dropbearkey -t ed25519 -f /etc/dropbear/dropbear_ed25519_host_key'
    cp -a "$root/packaging/bmc/root/." "$target"
    chown -R 0:0 "$target/etc/systemd" "$target/etc/modules-load.d"
    cp "$target/usr/share/systemd/tmp.mount" "$target/etc/systemd/system"
    [ -f "$cache/key" ] || ssh-keygen -q -t ed25519 -N '' -f "$cache/key"
    cp "$cache/key.pub" "$target/root/.ssh/authorized_keys"
    echo bmc >"$target/etc/hostname"
    copy_modules "$version" "$target"
    # A getty would take the line away from what else writes there.
    systemctl --root="$target" mask getty@.service serial-getty@.service \
        systemd-firstboot.service
    systemctl --root="$target" disable dpkg-db-backup.timer fstrim.timer
    systemctl --root="$target" enable board-network board-ready dropbear \
        pstorage.mount tmp.mount zantric-sim
    systemctl --root="$target" set-default multi-user.target
    (cd "$target" && find . -print0 | cpio --null --quiet -o -H newc) \
        >"$cache/image.cpio"
}

# Only the modules that the board needs. $1: kernel version; $2: target
copy_modules() {
    local module file base=$cache/kernel
    for module in "${kernel_modules[@]}"; do
        modprobe -d "$base" -S "$1" --show-depends "$module"
    done | while read -r _ file _; do
        install -D -m 644 "$file" \
            "$2/lib/modules/${file##*/lib/modules/}"
    done
    cp "$base/lib/modules/$1/modules."{builtin,order} "$2/lib/modules/$1"
    depmod -b "$2" "$1"
}

make_cross() {
    enable_arm
    step cross "$mirror ${cross_packages[*]}" \
        'the root with the cross compiler (2 minutes)' cross_root
}

make_image() {
    local sources
    make_cross
    step board "$mirror ${board_packages[*]}" \
        'the root of the board (3 minutes)' board_root
    sources=$(contents meson.build meson_options.txt completions io man \
        packaging/dbus packaging/debian sim subprojects tool)
    step packages "$(cat "$cache/cross.key") $sources" \
        'packages for ARM (3 minutes)' build_packages
    step image "$(cat "$cache"/{board,packages}.key) $(declare -f furnish \
        copy_modules) $(contents packaging/bmc/root)" 'the image' furnish
}

# Build in a folder of the sources. $1: its name; then options of Meson.
build_for_arm() {
    # The inner shell is the one that expands these.
    # shellcheck disable=SC2016
    in_cross /src sh -ec '[ -f "$0/build.ninja" ] || meson setup "$0" \
            --cross-file packaging/cross/arm-linux-gnueabihf.ini "$@"
        ninja -C "$0" --quiet' "$1" "${at_once[@]}" "${@:2}" \
        >"$cache/$1.log" 2>&1 ||
        fail "the build for ARM failed; see $cache/$1.log"
}

# Compile a C program in the root. $1: its source; $2: the program; then options.
compile_for_arm() {
    cp "$1" "$cache/cross/tmp/program.c"
    in_cross /tmp arm-linux-gnueabihf-gcc -O2 -o "$2" program.c "${@:3}"
}

release_for_arm() {
    copy_sources
    build_for_arm build-arm --buildtype=release -Dsim=disabled -Dtests=disabled
}

# The sizes of a release, and the unit tests under qemu-user.
on_arm() {
    local file
    printf '== release build\n'
    release_for_arm
    for file in zantric zantric-attest.so; do
        in_cross /src/build-arm/tool arm-linux-gnueabihf-strip -o "/tmp/$file" \
            "$file"
        printf '%s: %s bytes stripped\n' "$file" \
            "$(stat -c %s "$cache/cross/tmp/$file")"
    done
    printf '== unit tests\n'
    build_for_arm build-arm-test
    in_cross /src meson test -C build-arm-test --no-rebuild --suite unit \
        --print-errorlogs || fail "unit tests failed on ARM"
}
