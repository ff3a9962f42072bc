// SAS management protocol values shared by the SAS topology: the routing
// attribute of an expander PHY and the negotiated link rate of a PHY.
#ifndef SMP_H
#define SMP_H

#include "tarsel.h"

/* Routing attribute of an expander PHY */
enum {
    SMP_ROUTING_DIRECT = 0,
    SMP_ROUTING_SUBTRACTIVE = 1,
    SMP_ROUTING_TABLE = 2
};

/* Negotiated (logical) link rate of a PHY */
enum {
    SMP_LINK_RATE_UNKNOWN = 0x0,
    SMP_LINK_RATE_DISABLED = 0x1,
    SMP_LINK_RATE_1_5G = 0x8,
    SMP_LINK_RATE_3G = 0x9,
    SMP_LINK_RATE_6G = 0xA,
    SMP_LINK_RATE_12G = 0xB
};

#endif
