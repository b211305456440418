#!/bin/sh
# release_dry_run_test.sh ROOT: the steps of tools/release-macos stand in the order that a valid signature needs, and
# the script refuses to start without what it needs.
set -eu
release="$1/tools/release-macos"
identity='Developer ID Application: Test (AB12CD34EF)'

steps=$("$release" --dry-run --identity "$identity" --profile kyb --driver /driver --build /b --qt /qt)

# Fails unless a step that contains $2 follows the one that contains $1.
in_order() {
    echo "$steps" | awk -v first="$1" -v then="$2" '
        !seen && index($0, first) { seen = NR; next }
        seen && index($0, then) { found = 1 }
        END { exit !found }' || { echo "not in order: $1, $2" >&2; exit 1; }
}
in_order 'tools/helper-version' 'cmake -G Ninja'
in_order 'cmake -G Ninja' 'cmake --build /b'
in_order 'cmake --build /b' '/qt/bin/macdeployqt'
in_order 'macdeployqt' '--identifier com.kyb.InstallerHelperTool'
in_order '--identifier com.kyb.InstallerHelperTool' 'PlugIns/<each library>'
in_order 'PlugIns/<each library>' 'Frameworks/<each framework and library>'
in_order 'Frameworks/<each framework and library>' "app.entitlements '/b/Brelund Quorlix Installer.app'"
in_order 'app.entitlements' 'codesign --verify --deep --strict'
in_order 'codesign --verify --deep --strict' '-R=<SMPrivilegedExecutables'
in_order '-R=<SMPrivilegedExecutables' '-R=<SMAuthorizedClients'
in_order '-R=<SMAuthorizedClients' 'cpack'
in_order 'cpack' "--sign '$identity' /b/BrelundQuorlixInstaller-1.0.0.dmg"
in_order 'cpack' 'notarytool submit /b/BrelundQuorlixInstaller-1.0.0.dmg'
in_order 'notarytool submit' 'stapler staple'
in_order 'stapler staple' 'spctl --assess'

# All that is in the bundle is signed for the hardened runtime, with a time stamp.
signatures=$(echo "$steps" | grep -c 'codesign --force --timestamp --options runtime')
[ "$signatures" -eq 4 ] || { echo "$signatures signatures for the hardened runtime" >&2; exit 1; }
echo "$steps" | grep -q -- "-DKYB_SIGNING_IDENTITY=$identity" || { echo "the build gets no identity" >&2; exit 1; }

for missing in identity profile driver; do
    set -- --dry-run
    for name in identity profile driver; do
        [ "$name" = "$missing" ] || set -- "$@" "--$name" value
    done
    if "$release" "$@" >/dev/null 2>&1; then
        echo "started without --$missing" >&2
        exit 1
    fi
done
