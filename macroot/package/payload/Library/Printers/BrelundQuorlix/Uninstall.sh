#!/bin/sh
# Removes the Brelund Quorlix driver from the volume that this script lies on.

PATH=/usr/bin:/bin:/usr/sbin:/sbin
export PATH
unset CDPATH

# The shell reads a script while it runs it, and this one removes itself: so all of it is read first.
main() {
    folder=$(cd "$(dirname "$0")" && pwd -P) || exit 1
    volume=${folder%/Library/Printers/BrelundQuorlix}
    if [ "$volume" = "$folder" ]; then
        echo "Uninstall.sh: $folder is not the driver's folder" >&2
        exit 1
    fi
    cd / || exit 1
    rm -f "$volume/Library/Preferences/BrelundQuorlixAdmin.plist" &&
        rm -rf "$folder" &&
        rm -f "$volume/var/db/receipts/com.Brelund.QuorlixInstaller.plist"
    exit $?
}

main "$@"
