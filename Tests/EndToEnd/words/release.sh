# Words about releases, which are tried in a small tree: that of a package with one file, and the real scripts. Sourced;
# what they make goes with the test.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
fail() { echo "FAILED: $1"; exit 1; }

scratch=$(mktemp -d) || exit 1
go() {
    [ ! -d "$scratch/keys" ] || GNUPGHOME=$scratch/keys gpgconf --kill all
    rm -rf "$scratch"
}
trap go EXIT
tree=$scratch/tree
# Nobody's settings but those of the test.
export HOME=$scratch GIT_CONFIG_GLOBAL=$scratch/gitconfig GIT_CONFIG_SYSTEM=/dev/null
unset BRINDLE_RELEASE_KEY
git config --file "$GIT_CONFIG_GLOBAL" user.name Somebody
git config --file "$GIT_CONFIG_GLOBAL" user.email somebody@example.org

small_tree() {
    mkdir -p "$tree/scripts/lib" "$tree/Packaging/debian/source"
    cp "$root"/scripts/{package,recipes,release} "$tree/scripts"
    cp "$root"/scripts/lib/{build-packages,fill-recipes,version} "$tree/scripts/lib"
    cp -r "$root"/Packaging/{arch,flatpak,rpm} "$tree/Packaging"
    printf '/build/\n' >"$tree/.gitignore"
    printf 'project(BrindleRecorder VERSION 1.2.3 LANGUAGES CXX)\n' >"$tree/CMakeLists.txt"
    printf '# Changelog\n\n## 1.2.3 (2026-01-31)\n\n- All of it.\n\n## 1.2.2 (2025-12-24)\n' >"$tree/CHANGELOG.md"
    cp "$root/Packaging/debian/source/format" "$tree/Packaging/debian/source"
    cat >"$tree/Packaging/debian/control" <<'CONTROL'
Source: brindle-recorder
Section: video
Priority: optional
Maintainer: Brindle Recorder Maintainers <brindle-recorder@tamsworth.com>
Build-Depends: debhelper-compat (= 13)
Standards-Version: 4.6.2
Rules-Requires-Root: no

Package: brindle-recorder
Architecture: all
Depends: ${misc:Depends}
Description: something to try releases with
 It holds one file, and is built in a moment.
CONTROL
    cat >"$tree/Packaging/debian/copyright" <<'COPYRIGHT'
Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/

Files: *
Copyright: 2026 The Brindle Recorder developers
License: Apache-2.0
 On Debian systems the text of the Apache License, version 2.0, is in
 /usr/share/common-licenses/Apache-2.0.
COPYRIGHT
    printf 'made usr/share/brindle-recorder\n' >"$tree/Packaging/debian/install"
    package_holds 'echo made$$DEB_CXXFLAGS_APPEND' # of whose settings nothing is to be seen
    git -C "$tree" init --quiet && git -C "$tree" add --all && git -C "$tree" commit --quiet --message 'All of it'
}

# package_holds COMMAND: what the package's file says is what the command prints while it is built.
package_holds() {
    printf '#!/usr/bin/make -f\n%%:\n\tdh $@ --buildsystem=none\n\noverride_dh_auto_build:\n\techo [1/1] made\n\t%s >made\n' "$1" \
        >"$tree/Packaging/debian/rules"
    chmod +x "$tree/Packaging/debian/rules"
}

commit() { git -C "$tree" commit --quiet --all --message "$1"; }
