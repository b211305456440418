#!/bin/sh
# minimum_client_test.sh CMAKE ROOT: the bundle's files are not made for an application that its own helper would refuse.
set -eu
cmake=$1 root=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/bundle.cmake" <<END
include("$root/resources/macos/KybBundle.cmake")
set(KYB_MINIMUM_CLIENT_VERSION 2.9.0)
kyb_configure_bundle_files(OUTPUT_DIR "$work/lists")
END

# is_made VERSION: whether the files are made for an application of that version.
is_made() {
    "$cmake" "-DPROJECT_VERSION=$1" -P "$work/bundle.cmake" >"$work/output" 2>&1
}

for version in 2.9.0 2.10.0 10.0.0; do
    is_made "$version" || { echo "refused for $version:" && cat "$work/output" && exit 1; } >&2
done
for version in 2.8.9 1.10.0; do
    ! is_made "$version" || { echo "made for $version" >&2; exit 1; }
    grep -q KYB_MINIMUM_CLIENT_VERSION "$work/output"
done
for version in 3.0 3 3.0.0.0 3.0.x; do
    ! is_made "$version" || { echo "made for $version" >&2; exit 1; }
    grep -q "\"$version\" has not" "$work/output"
done
grep -q 'CFBundleVersion\] &gt;= &quot;2.9.0&quot;' "$work/lists/HelperInfo.plist"
