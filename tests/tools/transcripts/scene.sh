# What each session begins with, and words that set its scene.
unset NO_COLOR $(env | sed -n 's/^\(TARVANI_[A-Z_]*\)=.*/\1/p')
export LC_ALL=C TZ=UTC HOME="$PWD"
umask 022

# pack FILE NAME...: a container with sections of these names, each of which holds its name; all times are 1000. The
# files that it was made from are in "packed".
pack() (
    file=$PWD/$1 && shift && mkdir -p packed && cd packed || exit
    for name; do printf %s "$name" >"$name" && touch -d @1000 "$name"; done
    tarvani index create "$file" "$@"
)

# Parts of a container, for one that is strange: int NUMBER..., text WORDS, table COUNT, entry NAME OFFSET SIZE.
int() { for n; do printf "$(printf '\\%03o' $((n & 255)) $((n >> 8 & 255)) $((n >> 16 & 255)) $((n >> 24 & 255)))"; done; }
text() { int ${#1} && printf %s "$1"; }
table() { printf INDX && int 0 && text words && int "$1"; }
entry() { text "$1" && int "$2" "$3" 0; }

size() { stat -c %s "$1"; }

# letters COUNT: so many of them.
letters() { head -c "$1" /dev/zero | tr '\0' x; }

# remember, and then changes: what has changed in the folder since.
state() { find . -type f -exec cksum {} + -o -print | sort; }
remember() { before=$(state); }
changes() { [ "$(state)" = "$before" ] || printf '%s\n' "$before" "is now" "$(state)"; }

# user COMMAND...: as somebody with no more rights than others. Where that can't be the session is left out.
user() {
    [ "$(id -u)" = 0 ] || { "$@"; return; }
    nobody="setpriv --reuid 65534 --regid 65534 --clear-groups"
    $nobody tarvani --version >/dev/null 2>&1 || exit 77
    $nobody "$@"
}

# leave FILE NEW [LETTERS]: what a command that is killed while it writes NEW over FILE leaves as a temporary file.
leave() {
    left=$TMPDIR/tarvani-${3:-AbCdEf}.$(printf %x-%x $(stat -c '%d %i' "$1"))
    cp "$2" "$left" && touch -d @2000 "$left"
}

# layers FILE...: directories hi, mid and lo along the path, with these files alone, each a line with its own name.
layers() {
    rm -rf hi mid lo && mkdir -m 777 hi mid lo && export TARVANI_PATH=hi:mid:lo
    for name; do mkdir -p "${name%/*}" && echo "$name" >"$name" && chmod 666 "$name"; done
}

# plugin NAME FILE: a copy of one of the plug-ins of tests/plugin. Where there are none the session is left out.
plugin() {
    [ -d "$PLUGINS" ] || exit 77
    mkdir -p "${2%/*}" && cp "$PLUGINS/$1.dll" "$2"
}
