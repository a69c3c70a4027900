#!/bin/sh
# Shows the library at work: renders frames through it, looks at one, takes it to PNG and back, then
# does the same with pictures of the user's own.
#   FRAMES=8 PICTURES='a.png "two words.ppm"' scripts/demo.sh BUILD FOLDER
# Everything goes to the folder. Ends with 1 when anything failed or came back different.
set -eu

bin=${1:?"usage: scripts/demo.sh BUILD FOLDER"}/bin
out=${2:?"usage: scripts/demo.sh BUILD FOLDER"}
mkdir -p "$out"
out=$(cd "$out" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
failed=0

# Whether two pictures hold the same colours and matte, whatever their formats: in the simplest of
# formats, which holds nothing else, their files are the same then.
same_pixels() {
    "$bin/zor" --quiet convert --to pnm "$1" "$work/a" &&
        "$bin/zor" --quiet convert --to pnm "$2" "$work/b" &&
        cmp -s "$work/a" "$work/b"
}

compare() {
    if same_pixels "$1" "$2"; then
        echo "  pixels are equal"
    else
        echo "  PIXELS DIFFER, or a file cannot be read"
        failed=1
    fi
}

# Takes a picture to the format of the second name and from there to the third, with key $4.
there_and_back() {
    if "$bin/zor" convert "$1" "$2" && "$bin/zor" convert --to "$4" "$2" "$3"; then
        printf '  %s\n' "$2" "$3"
        compare "$1" "$3"
    else
        failed=1
    fi
}

echo "Rendering ${FRAMES:=8} frames"
frame=1
while [ "$frame" -le "$FRAMES" ]; do
    "$bin/render_frame" "$out/frame.$(printf %04d "$frame").mox" "$frame"
    frame=$((frame + 1))
done
echo
"$bin/zor" info "$out/frame.0001.mox"
echo
"$bin/image_stats" "$out/frame.0001.mox"
echo
echo "To PNG and back"
there_and_back "$out/frame.0001.mox" "$out/frame.0001.png" "$out/frame.0001.back.mox" mox

# One name a line; quotes and backslashes keep blanks together, and a single name needs neither.
if [ -e "${PICTURES:=}" ]; then
    printf '%s\n' "$PICTURES"
else
    printf '%s\n' "$PICTURES" | xargs -n 1 printf '%s\n'
fi >"$work/pictures"

number=0
while IFS= read -r picture; do
    [ -n "$picture" ] || continue
    number=$((number + 1))
    echo
    echo "$picture"
    key=$("$bin/zor" info --json "$picture" | sed -n 's/^ *"format": "\(.*\)",$/\1/p' | head -n 1)
    if [ -z "$key" ]; then
        failed=1
        continue
    fi
    name=$(basename "$picture")
    extension=.${name##*.}
    there=mox
    if [ "$key" = mox ]; then
        there=png
    fi
    stem=$out/$number-${name%.*}
    there_and_back "$picture" "$stem.$there" "$stem.back$extension" "$key"
done <"$work/pictures"

echo
echo "The pictures are in $out"
exit $failed
