// Decoders of the logical drive policy bytes.
#include "ld.h"

#include <string.h>

const char* ReadCachePolicyText(U8 policy) {
    if ((policy & KV_LD_CACHE_READ_AHEAD) && (policy & KV_LD_CACHE_READ_ADAPTIVE)) return "Adaptive Read Ahead";
    if (policy & KV_LD_CACHE_READ_AHEAD) return "Read Ahead";
    return "No Read Ahead";
}

const char* WriteCachePolicyText(U8 policy) {
    // The middle test cannot hold once bit 0 is clear; the order is kept.
    if (policy & KV_LD_CACHE_WRITE_BACK) return "Write Back";
    if ((policy & 0x11) == 0x11) return "Write caching ok if bad BBU";
    return "Write through";
}

const char* CachePolicyText(U8 policy) {
    return (policy & KV_LD_CACHE_CACHED_IO) == KV_LD_CACHE_CACHED_IO ? "Cached IO" : "Direct IO";
}

const char* LDStateText(U8 state) {
    switch (state) {
    case 0: return "OFFLINE";
    case 1: return "PARTIALLY DEGRADED";
    case 2: return "DEGRADED";
    case 3: return "OPTIMAL";
    default: return nullptr;
    }
}

void PrintReadCachePolicy(U8 policy) { puts(ReadCachePolicyText(policy)); }

void PrintWriteCachePolicy(U8 policy) { puts(WriteCachePolicyText(policy)); }

void PrintCachePolicy(U8 policy) { puts(CachePolicyText(policy)); }

void PrintPdCachePolicy(U8 policy) {
    switch (policy) {
    case 0: printf("UNCHANGED"); break;
    case 1: printf("ENABLED"); break;
    case 2: printf("DISABLED"); break;
    default: printf("%d", policy); break;
    }
    printf("\n");
}

void PrintAccessPolicy(U8 policy) {
    switch (policy & 0x0F) {
    case 0: printf("Read Write"); break;
    case 2: printf("Read Only"); break;
    case 3: printf("Blocked"); break;
    default: printf("%d", policy); break;
    }
    printf("\n");
}

void PrintPowerPolicy(U8 policy) {
    switch (policy) {
    case 0: printf("Controller Default"); break;
    case 1: printf("AUTO"); break;
    case 2: printf("MAX"); break;
    case 6: printf("MAX WITHOUT CACHE"); break;
    case 254: printf("NONE"); break;
    default: printf("No Power Policy"); break;
    }
}

char* getPSPolicy(char* buffer, U8 policy) {
    const char* text;
    switch (policy) {
    case 0: text = "Controller Default"; break;
    case 1: text = "Auto"; break;
    case 2: text = "Max"; break;
    case 4: text = "Max Without Cache"; break;
    case 254: text = "None"; break;
    default: text = "No Power Policy"; break;
    }
    strcpy(buffer, text);
    return buffer;
}

const char* LDPowerPolicyText(U8 policy) {
    switch (policy) {
    case 0: return "LD shall use controller default power saving policy";
    case 1: return "LD power savings are managed by FW (will use T10 power conditions and max as appropriate)";
    case 2: return "LD should use MAX power savings";
    case 6: return "LD shall not cache writes to maximise power savings";
    case 254: return "LD power savings are disabled";
    case 255: return "Reserved";
    default: return "Unknown";
    }
}
