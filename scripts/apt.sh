# apt.sh - for scripts that get Debian packages, to be read in with '.': tells a mirror that does
# not answer, by status 75, from everything else that fails.

apt_stale=no

# apt_update COMMAND...   refreshes the index. A partly stale one will do, if it has the packages.
apt_update() {
    "$@" update -qq -o APT::Update::Error-Mode=any || apt_stale=yes
}

# apt_download COMMAND...   downloads; returns 75 when the packages are not to be had
apt_download() {
    apt_log=$(mktemp)
    if LC_ALL=C "$@" 2>"$apt_log"; then
        rm -f "$apt_log"
        return 0
    fi
    cat "$apt_log" >&2
    apt_status=1
    if grep -q 'Failed to fetch' "$apt_log" || {
        # A package may be missing from an index that could not be refreshed.
        [ $apt_stale = yes ] && grep -Eq "Unable to (locate|find)|no installation candidate" "$apt_log"
    }; then
        apt_status=75
    fi
    if grep -q 'No space left' "$apt_log"; then apt_status=1; fi
    rm -f "$apt_log"
    return $apt_status
}
