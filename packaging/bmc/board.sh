# SPDX-License-Identifier: Apache-2.0
# Boots the emulated board and talks to it; sourced by scripts/bmc.
# shellcheck shell=bash
# shellcheck disable=SC2154  # cache comes from image.sh

run=$cache/run
console=$cache/console.log
boot_seconds=900
ssh=()

running() { [ -f "$run/pid" ] && kill -0 "$(cat "$run/pid")" 2>/dev/null; }

# Set the words that lead to the board.
find_board() {
    ssh=(ssh -q -i "$cache/key" -p "$(cat "$run/port")"
        -o IdentitiesOnly=yes -o StrictHostKeyChecking=no
        -o UserKnownHostsFile=/dev/null -o ServerAliveInterval=30
        # A handshake takes a second there: all commands share one.
        -o ControlMaster=auto -o ControlPath="$run/ssh" -o ControlPersist=yes
        root@127.0.0.1)
}

# A port of the loopback interface that was free just now.
free_port() {
    /usr/bin/python3 -c 'import socket
with socket.create_server(("127.0.0.1", 0)) as server:
    print(server.getsockname()[1])'
}

boot_board() {
    local port
    rm -rf "$run"
    mkdir -p "$run"
    port=$(free_port)
    cp "$cache/image.key" "$run/image.key"
    : >"$console"
    local start=$SECONDS
    # It says of the other interfaces that nothing is behind them.
    # shellcheck disable=SC2086  # QEMU_OPTIONS are words
    qemu-system-arm -M ast2600-evb -display none -no-reboot -daemonize \
        -pidfile "$run/pid" -serial "file:$console" \
        -kernel "$cache"/kernel/boot/vmlinuz-* \
        -dtb "$cache"/kernel/usr/lib/linux-image-*/aspeed-ast2600-evb.dtb \
        -initrd "$cache/image.cpio" -append "console=ttyS4,115200n8 quiet \
            rdinit=/sbin/init systemd.show_status=1 TERM=dumb" \
        -device pca9548,bus=aspeed.i2c.bus.3,address=0x70 \
        -nic "user,restrict=on,hostfwd=tcp:127.0.0.1:$port-:22" \
        ${QEMU_OPTIONS-} 2>"$cache/qemu.log" ||
        fail "QEMU did not start; see $cache/qemu.log"
    echo "$port" >"$run/port"
    # What the board shows until it is ready, or until there is no board.
    sed -u '/The board is ready/q' < <(timeout "$boot_seconds" \
        tail -n +1 -f --pid="$(cat "$run/pid")" "$console")
    grep -q 'The board is ready' "$console" ||
        fail "the board did not boot; see $console"
    printf '== the board is up: %s s\n' $((SECONDS - start))
}

stop_board() {
    running || return 0
    local process
    process=$(cat "$run/pid")
    [ ! -S "$run/ssh" ] ||
        ssh -q -o ControlPath="$run/ssh" -O exit 127.0.0.1 2>/dev/null || true
    kill "$process"
    tail -f --pid="$process" /dev/null
    rm -rf "$run"
}

# Do something on a board that runs, or on one that ends with it.
with_board() {
    local booted=
    if ! running; then
        booted=yes
        [ "$1" = start ] || trap stop_board EXIT
        boot_board
    elif ! cmp -s "$run/image.key" "$cache/image.key"; then
        fail "the board that is running has an older image;" \
            "end it with scripts/bmc stop"
    fi
    find_board
    # There is nobody else whom it could ask.
    [ -z "$booted" ] || "${ssh[@]}" "date -s @$(date +%s)" >/dev/null
    "on_board_$1" "${@:2}"
}

on_board_start() { :; }
on_board_shell() { "${ssh[@]}" -t || true; }
on_board_check() { check "$@"; }
on_board_figures() { figures; }

on_board_run() {
    local words
    words=$(printf '%q ' "$@")
    "${ssh[@]}" "$words"
}
