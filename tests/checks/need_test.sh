# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh

# The package manager of a machine that has only "there"; apt-get keeps its words.
fresh_tree
file bin/dpkg-query <<'END'
#!/bin/sh
echo "there installed"
END
file bin/apt-get <<'END'
#!/bin/sh
echo "$@" >>"$0.words"
END
file bin/sudo <<'END'
#!/bin/sh
"$@"
END
chmod 0755 "$tree"/bin/*
printf '%s\n' 'first: zebra there apple' 'second: apple mango zebra' | file packages.txt

install() {
    (
        export PATH=$tree/bin:$PATH GPON_BUILD_DIR=$tree
        # shellcheck source=scripts/packages.sh
        . scripts/packages.sh
        cd "$tree" && need "$@"
    )
}

passes "each package is named once, in its order" \
    test "$(install first second)" = "installing: zebra apple mango"
passes "apt-get gets each package once" grep -q ' zebra apple mango$' "$tree/bin/apt-get.words"
fails "a group that is not there" "no group 'third'" install first third
exit "$proofs_failed"
