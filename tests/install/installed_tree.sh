#!/usr/bin/env bash
# Installs the build into a temporary prefix with the usual GNU folders and
# checks that every file a desktop needs is in place and valid.
#   installed_tree.sh BUILD_DIR VERSION
set -euo pipefail
build=$1
version=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" > /dev/null

id=org.melodrift.Melodrift
status=0
for file in bin/melodrift bin/melodrift-cli lib/melodrift/melodrift-webpreview.so \
            share/melodrift/translations/melodrift_en.qm share/melodrift/translations/melodrift_de.qm \
            share/applications/$id.desktop share/metainfo/$id.metainfo.xml \
            share/icons/hicolor/scalable/apps/$id.svg; do
  found=$(find "$prefix" -path "$prefix/*" -type f -wholename "*/${file#*/}" | head -n1)
  if [ -z "$found" ]; then
    echo "missing: $file" >&2
    status=1
  fi
done
[ -x "$(find "$prefix" -type f -name melodrift | head -n1)" ] || { echo "melodrift is not executable" >&2; status=1; }
"$(find "$prefix" -type f -name melodrift-cli | head -n1)" --version | grep -qxF "melodrift-cli $version" || { echo "melodrift-cli --version" >&2; status=1; }
grep -qF "<release version=\"$version\"" "$prefix/share/metainfo/$id.metainfo.xml" || { echo "the AppStream data names another release" >&2; status=1; }

# The entry's icon and program must name what was installed.
grep -qx "Icon=$id" "$prefix/share/applications/$id.desktop" || { echo "the entry names another icon" >&2; status=1; }
grep -q "^Exec=melodrift" "$prefix/share/applications/$id.desktop" || { echo "the entry runs another program" >&2; status=1; }

if command -v desktop-file-validate > /dev/null; then
  desktop-file-validate "$prefix/share/applications/$id.desktop" || status=1
else
  echo "SKIPPED: desktop-file-validate is not installed (package desktop-file-utils)"
fi
if command -v appstreamcli > /dev/null; then
  appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml" || status=1
else
  echo "SKIPPED: appstreamcli is not installed (package appstream)"
fi
exit $status
