#!/usr/bin/env bash
# Makes the documentation site: the guides with the pictures that their code makes, the reference from the headers, and
# the gallery (what scripts/demo.sh leaves). Installs what is missing and builds first; may be called from anywhere.
#   site.sh [--plain] [--vk VK --library FOLDER] [OUT]
# --plain leaves the gallery out. --vk and --library take a command and library that are built already. OUT is build/site.
set -euo pipefail
cd "$(dirname "$0")/.."

plain="" vk="" library="" out=build/site
while [ $# -gt 0 ]; do
    case $1 in
    --plain) plain=yes ;;
    --vk) vk=$2 && shift ;;
    --library) library=$2 && shift ;;
    *) out=$1 ;;
    esac
    shift
done

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
ensure_packages build-essential python3 doxygen
if [ -z "$vk" ]; then
    ensure_packages cmake ninja-build ccache pkg-config googletest libpng-dev libjpeg-dev libtiff-dev \
        libwebp-dev libgif-dev liblcms2-dev
    mkdir -p build
    cmake --preset native >build/native.configure.log
    cmake --build build/native --target vk -- --quiet
    vk=build/native/vk library=build/native
fi

rm -rf "$out"
mkdir -p "$out"
out=$(realpath "$out")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

echo "== guides"
scripts/guides.py --vk "$vk" --library "$library" "$scratch"

echo "== reference"
version=$(sed -nE 's/^project\(Vkkrnx VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
# The pages as they lie beside each other.
pages=$scratch/pages
mkdir -p "$pages"
cp -r docs CHANGELOG.md SECURITY.md "$pages"
rm -r "$pages/docs/site"
scripts/site_pages.py "$pages/docs/guide"
sed -i 's#\[README.md\](README.md)#README.md#' "$pages/CHANGELOG.md"
layout=$scratch/layout.xml
sed "${plain:+/Gallery/d;}" docs/site/layout.xml >"$layout"
(
    cd docs
    {
        cat Doxyfile
        cat <<OPTIONS
PROJECT_NUMBER = $version
INPUT = ../include $pages
FILE_PATTERNS = *.h *.md
RECURSIVE = YES
STRIP_FROM_PATH = $pages ..
USE_MDFILE_AS_MAINPAGE = $pages/docs/guide/index.md
OUTPUT_DIRECTORY = $scratch
HTML_OUTPUT = html
LAYOUT_FILE = $layout
HTML_EXTRA_STYLESHEET = $PWD/site/site.css
HTML_COLORSTYLE_SAT = 40
HTML_TIMESTAMP = NO
TOC_INCLUDE_HEADINGS = 0
DISABLE_INDEX = NO
SEARCHENGINE = YES
SERVER_BASED_SEARCH = NO
VERBATIM_HEADERS = NO
WARN_LOGFILE = $scratch/warnings.log
OPTIONS
    } | doxygen -
)
grep -E '\.md:' "$scratch/warnings.log" >&2 || true
# Pages of folders are named after where those lie: the one of the headers gets another name, the others are not needed.
for page in "$scratch"/html/dir_*.html; do
    name=$(basename "$page")
    if grep -qF "$name" "$scratch"/html/Vk*.html; then
        grep -rlF "$name" "$scratch/html" | xargs sed -i "s#$name#dir_include.html#g"
        mv "$page" "$scratch/html/dir_include.html"
    else
        rm "$page"
    fi
done
cp -r "$scratch/html/." "$scratch/pictures" "$out"

if [ -z "$plain" ]; then
    echo "== gallery"
    scripts/demo.sh
    cp -r demo-out "$out/gallery"
    sed -i 's#<nav>#<nav><a href="../index.html">Guides</a>#' "$out"/gallery/*.html
fi
echo "== done: open $out/index.html"
