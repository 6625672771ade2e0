# SPDX-License-Identifier: Apache-2.0
# Shared by the scripts beside it; sourced, not run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# What a Debian 12 machine needs to build and run everything here.
# shellcheck disable=SC2034 # for the scripts that source this
packages=(
    clang-format
    dbus
    dbus-broker
    flake8
    g++
    groff-base
    libboost-dev
    libgtest-dev
    libssl-dev
    libsystemd-dev
    man-db
    mandoc
    meson
    ninja-build
    nlohmann-json3-dev
    openssl
    pkg-config
    procps
    python3
    python3-pytest
    shellcheck
    systemd
    util-linux
)

# For builds that are made to be run once: several sources are compiled as one,
# so that the headers they share, which are most of the work, are read once.
# shellcheck disable=SC2034
at_once=(--unity=on --unity-size=8)

# Say in one sentence why it cannot go on, and end.
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# Install those of the named packages that are missing.
install_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null |
            grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null ||
        fail "this is not a Debian machine; install by hand: ${missing[*]}"
    [ "$(id -u)" -eq 0 ] ||
        fail "these packages are missing and only root can install them:" \
            "${missing[*]}"
    printf 'Installing %s\n' "${missing[*]}"
    { apt-get update -qq &&
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
            --no-install-recommends "${missing[@]}"; } </dev/null >/dev/null ||
        fail "apt-get could not install: ${missing[*]}"
}

# Configure a build folder once. $1: folder; further words: options of
# `meson setup`.
configure_in() {
    local folder=$1
    shift
    [ -f "$folder/build.ninja" ] ||
        (cd "$root" && meson setup "$folder" "$@" >"$folder.log" 2>&1) ||
        fail "the build could not be configured; see $folder.log"
    rm -f "$folder.log"
}

# The same, and bring it up to date.
build_in() {
    configure_in "$@"
    ninja -C "$1" --quiet || fail "the build in $1 failed"
}
