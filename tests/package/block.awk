# SPDX-License-Identifier: MIT
# awk -f block.awk -v want=N -v language=c FILE.md: the N-th fenced block that opens with ```c.
BEGIN { fence = "```" language }
/^```/ {
    if (inside) {
        inside = 0
    } else {
        inside = 1
        if ($0 == fence) n++
        mine = $0 == fence && n == want
        next
    }
}
inside && mine
