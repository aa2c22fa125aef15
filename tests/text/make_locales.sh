#!/bin/sh
# Compiles the locales that the text tests switch between into a private
# directory (used as LOCPATH), so that no test depends on the locales the
# machine has installed. A locale that can't be made is left out; the tests
# that need it skip.
out=$1
mkdir -p "$out"
make_locale() {
    [ -d "$out/$1" ] || localedef -c --no-warnings=ascii -i "$2" -f "$3" "$out/$1" >/dev/null 2>&1 || true
}
make_locale en_US.ISO-8859-1 en_US ISO-8859-1
make_locale en_US.UTF-8 en_US UTF-8
make_locale ja_JP.EUC-JP ja_JP EUC-JP
make_locale ja_JP.SJIS ja_JP SHIFT_JIS
touch "$out/.stamp"
