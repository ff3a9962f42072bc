// Compiled with -m32 by the test suite: the static assertions in the
// interface headers then check every record layout for 32-bit pointers.
#include "event.h"
#include "kfistat.h"
#include "tarsel_oob.h"
#include "kv.h"
#include "kv_ctrl_misc.h"
#include "sata.h"
#include "ses.h"
#include "smp.h"
#include "tarsel.h"

int main() { return 0; }
