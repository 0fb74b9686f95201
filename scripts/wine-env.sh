# Sourced by ./dev and by wine-run: an own Wine prefix under build/, an own display, one resident wineserver.
# Functions: wine_environment (variables only), wine_setup (once per prefix), wine_start, wine_stop.
qv_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

wine_environment() {
    export WINEPREFIX="${QV_WINEPREFIX:-$qv_root/build/wine}"
    export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d'
    wine_state="$WINEPREFIX.state"
    if [ -n "${QV_DISPLAY:-}" ]; then # somebody's own display is to be used
        export DISPLAY="$QV_DISPLAY"
    elif [ -s "$wine_state/display" ]; then
        export DISPLAY=":$(cat "$wine_state/display")"
    fi
}

wine_bin() { if command -v wine64 >/dev/null; then wine64 "$@"; else /usr/lib/wine/wine64 "$@"; fi; }
wine_server() { if command -v wineserver >/dev/null; then wineserver "$@"; else /usr/lib/wine/wineserver64 "$@"; fi; }

display_alive() { [ -s "$wine_state/xvfb.pid" ] && kill -0 "$(cat "$wine_state/xvfb.pid")" 2>/dev/null; }

# Starts an X server of our own on a free display number.
display_start() {
    display_alive && return 0
    rm -f "$wine_state/display"
    mkfifo "$wine_state/displayfd.$$"
    setsid Xvfb -displayfd 3 -screen 0 1280x1000x24 -nolisten tcp \
        3<>"$wine_state/displayfd.$$" >/dev/null 2>&1 9>&- &
    echo $! >"$wine_state/xvfb.pid"
    if ! read -r -t 20 number <"$wine_state/displayfd.$$"; then
        echo "Xvfb did not start" >&2
        return 1
    fi
    rm -f "$wine_state/displayfd.$$"
    echo "$number" >"$wine_state/display"
    export DISPLAY=":$number"
}

message_font=f4ffffff0000000000000000000000009001000000000001000000005300650067006f006500200055004900$(printf '%096d' 0)

wine_create_prefix() {
    echo "Creating the Wine prefix $WINEPREFIX (once, about 20 s)"
    wine_bin wineboot -i >/dev/null 2>&1
    wine_server -w
    # Debian's Wine does not load its own fonts by itself.
    cp /usr/share/wine/fonts/*.ttf "$WINEPREFIX/drive_c/windows/Fonts/" 2>/dev/null || true
    # Without a window manager each managed window costs two seconds; unmanaged, Wine draws the frames.
    wine_bin reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null
    wine_bin reg add 'HKCU\Software\Wine\Fonts\Replacements' /v 'Segoe UI' /d 'Open Sans' /f >/dev/null
    # The message font as Windows has it: a LOGFONTW with "Segoe UI", 9 points.
    wine_bin reg add 'HKCU\Control Panel\Desktop\WindowMetrics' /v MessageFont /t REG_BINARY /f /d "$message_font" >/dev/null
    wine_server -w
    touch "$wine_state/ready"
}

# Nothing has to be started before a program can run.
wine_ready() { [ -e "$wine_state/ready" ] && { [ -n "${QV_DISPLAY:-}" ] || display_alive; }; }

# The prefix exists, the display and the resident wineserver run. Safe to call from many processes.
wine_start() {
    wine_environment
    mkdir -p "$wine_state"
    exec 9>"$wine_state/lock"
    flock 9
    if ! display_alive; then
        wine_server -k >/dev/null 2>&1 || true # a server started for another display never gets a new one
        display_start || { exec 9>&-; return 1; }
    fi
    wine_environment
    [ -e "$wine_state/ready" ] || wine_create_prefix 9>&-
    wine_server -p 9>&- >/dev/null 2>&1 || true
    exec 9>&-
}

wine_stop() {
    wine_environment
    wine_server -k >/dev/null 2>&1 || true
    if display_alive; then kill "$(cat "$wine_state/xvfb.pid")" 2>/dev/null || true; fi
    rm -f "$wine_state/xvfb.pid" "$wine_state/display"
}
