# Words about bare roots of Debian releases, made by debootstrap from the mirrors that this machine's apt uses; sourced
# by the scripts that make such roots. Whoever uses them has a word `fail MESSAGE [STATUS]`.
cannot_run=77

# What making and entering a root takes.
need_rights_for_roots() {
    [ "$(id -u)" -eq 0 ] || fail "making and entering a root needs root: call it as root or through sudo" "$cannot_run"
    PATH=$PATH:/usr/sbin:/sbin
    unshare --mount --pid --fork true 2>/dev/null ||
        fail "this machine gives no mount and process namespaces" "$cannot_run"
}

# take_turn LOCK WHAT: one run at a time, and whatever it starts holds the lock, too. Says what it waits for.
take_turn() {
    exec {lock}>"$1"
    if ! flock --nonblock "$lock"; then
        echo "${0##*/}: another run $2; waiting for its end" >&2
        flock "$lock"
    fi
}

codename_of_this_machine() { (. /etc/os-release && [ "${ID:-}" = debian ] && echo "${VERSION_CODENAME:-}"); }

# sources_of_this_machine RELEASE: what its apt reads of Debian itself, as lines of ADDRESS SUITE of the release.
sources_of_this_machine() {
    local codename
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    [ -n "$codename" ] || return
    apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 2>/dev/null |
        awk -v here="$codename" -v wanted="$1" '
            $3 == "main" && ($2 == here || $2 == here "-updates" || $2 == here "-security") {
                sub(here, wanted, $2)
                print $1, $2
            }' | sort -u
}

# make_bare_root RELEASE ROOT LOG PACKAGES: Debian's smallest with those packages, with commas between them.
make_bare_root() {
    local release=$1 root=$2 log=$3 packages=$4 mirror proxy=''
    command -v debootstrap >/dev/null ||
        fail "making a root needs debootstrap (apt-get install debootstrap)" "$cannot_run"
    mirror=$(sources_of_this_machine "$release" | awk -v wanted="$release" '$2 == wanted { print $1; exit }')
    eval "$(apt-config shell proxy Acquire::http::Proxy 2>/dev/null)"
    rm -rf "$root.partial"
    http_proxy=${http_proxy:-$proxy} debootstrap --variant=minbase --include="$packages" \
        "$release" "$root.partial" ${mirror:+"$mirror"} >"$log" 2>&1 ||
        { tail -n 20 "$log" >&2; fail "the root could not be made; all of it is in $log"; }
    # Packages that bring a service leave it alone: nobody would end it.
    printf '#!/bin/sh\nexit 101\n' >"$root.partial/usr/sbin/policy-rc.d"
    chmod +x "$root.partial/usr/sbin/policy-rc.d"
    mv "$root.partial" "$root"
}

# adopt_the_network RELEASE ROOT: names, proxies and package sources are those of this machine at the time of the run.
adopt_the_network() {
    local release=$1 root=$2 sources
    cp -L /etc/resolv.conf /etc/hosts "$root/etc/" 2>/dev/null
    sources=$(sources_of_this_machine "$release")
    [ -z "$sources" ] || awk '{ print "deb", $1, $2, "main" }' <<<"$sources" >"$root/etc/apt/sources.list"
    apt-config dump 2>/dev/null | grep -E '^Acquire::(http|https|Retries|Check-|Languages)' |
        grep -v -i 'Auto-Detect' >"$root/etc/apt/apt.conf.d/90this-machine"
    if compgen -G '/usr/local/share/ca-certificates/*' >/dev/null; then
        mkdir -p "$root/usr/local/share/ca-certificates"
        cp -rL /usr/local/share/ca-certificates/. "$root/usr/local/share/ca-certificates/"
        chroot "$root" update-ca-certificates >/dev/null 2>&1
    fi
}

# enter_root ROOT FOLDER COMMAND...: in place of the shell. Processes and mounts live in namespaces of the run: they end
# with it, whatever ends it. Bash lets what runs in the background ignore Ctrl-C, which nothing in there expects.
enter_root() {
    exec env --default-signal=INT,QUIT unshare --mount --pid --fork --kill-child --propagation private \
        "$(dirname "${BASH_SOURCE[0]}")/enter-root" "$@"
}
