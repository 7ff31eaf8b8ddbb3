// What a process inherits and had better not: standard streams that are closed, and the wish to hear nothing of its
// children.
#pragma once

/// Puts the null device in the place of standard streams that are closed, so that no file opened later is taken for
/// one, and lets children wait for their parent again, so that their exit codes are kept. To be called first.
void rx_mend_inheritance();
