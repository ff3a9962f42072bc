// Decoders of the logical drive policy bytes and of the drive state, speed
// and port fields.
#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <string>

#include "ld.h"
#include "pd.h"

namespace {

template <typename F>
std::string Printed(F f) {
    fflush(stdout);
    testing::internal::CaptureStdout();
    f();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(LdPolicy, ReadPolicyNeedsReadAheadForAdaptive) {
    EXPECT_EQ(Printed([] { PrintReadCachePolicy(0x0C); }), "Adaptive Read Ahead\n");
    EXPECT_EQ(Printed([] { PrintReadCachePolicy(0x04); }), "Read Ahead\n");
    EXPECT_EQ(Printed([] { PrintReadCachePolicy(0x08); }), "No Read Ahead\n");
    EXPECT_EQ(Printed([] { PrintReadCachePolicy(0x00); }), "No Read Ahead\n");
}

TEST(LdPolicy, WritePolicyBadBbuBitAloneIsWriteThrough) {
    EXPECT_EQ(Printed([] { PrintWriteCachePolicy(0x10); }), "Write through\n");
    EXPECT_EQ(Printed([] { PrintWriteCachePolicy(0x11); }), "Write Back\n");
    EXPECT_EQ(Printed([] { PrintWriteCachePolicy(0x01); }), "Write Back\n");
    EXPECT_EQ(Printed([] { PrintWriteCachePolicy(0x6C); }), "Write through\n");
}

TEST(LdPolicy, CachedIoNeedsBothBits) {
    EXPECT_EQ(Printed([] { PrintCachePolicy(0x60); }), "Cached IO\n");
    EXPECT_EQ(Printed([] { PrintCachePolicy(0x20); }), "Direct IO\n");
    EXPECT_EQ(Printed([] { PrintCachePolicy(0x40); }), "Direct IO\n");
}

TEST(LdPolicy, DiskCacheAndAccessPolicies) {
    EXPECT_EQ(Printed([] { PrintPdCachePolicy(0); }), "UNCHANGED\n");
    EXPECT_EQ(Printed([] { PrintPdCachePolicy(1); }), "ENABLED\n");
    EXPECT_EQ(Printed([] { PrintPdCachePolicy(2); }), "DISABLED\n");
    EXPECT_EQ(Printed([] { PrintPdCachePolicy(7); }), "7\n");
    // Only the low four bits are decoded; an unknown value prints whole.
    EXPECT_EQ(Printed([] { PrintAccessPolicy(0x12); }), "Read Only\n");
    EXPECT_EQ(Printed([] { PrintAccessPolicy(0x15); }), "21\n");
    EXPECT_EQ(Printed([] { PrintAccessPolicy(0x03); }), "Blocked\n");
    EXPECT_EQ(Printed([] { PrintAccessPolicy(0x00); }), "Read Write\n");
}

TEST(LdPolicy, PowerPolicyDecodersDisagreeOnMaxWithoutCache) {
    EXPECT_EQ(Printed([] { PrintPowerPolicy(4); }), "No Power Policy");
    EXPECT_EQ(Printed([] { PrintPowerPolicy(6); }), "MAX WITHOUT CACHE");
    EXPECT_EQ(Printed([] { PrintPowerPolicy(0); }), "Controller Default");
    EXPECT_EQ(Printed([] { PrintPowerPolicy(254); }), "NONE");
    char buf[19];
    memset(buf, 'x', sizeof buf);
    EXPECT_STREQ(getPSPolicy(buf, 4), "Max Without Cache");
    EXPECT_STREQ(getPSPolicy(buf, 6), "No Power Policy");
    EXPECT_STREQ(getPSPolicy(buf, 1), "Auto");
    EXPECT_STREQ(getPSPolicy(buf, 254), "None");
    EXPECT_STREQ(getPSPolicy(buf, 0), "Controller Default");
    EXPECT_STREQ(LDPowerPolicyText(4), "Unknown");
    EXPECT_STREQ(LDPowerPolicyText(6), "LD shall not cache writes to maximise power savings");
    EXPECT_STREQ(LDPowerPolicyText(255), "Reserved");
}

TEST(PdDecode, StateTextsIncludingShieldStates) {
    char buf[65];
    EXPECT_STREQ(GetPDStateString(128, buf, sizeof buf), "UNDEFINED : 0x80");
    EXPECT_STREQ(GetPDStateString(0x90, buf, sizeof buf), "UNDEFINED : 0x90");
    EXPECT_STREQ(GetPDStateString(64, buf, sizeof buf), "JBOD");
    EXPECT_STREQ(GetPDStateString(17, buf, sizeof buf), "FAILED");
    EXPECT_STREQ(GetPDStateString(0, buf, sizeof buf), "UNCONFIGURED GOOD");
    // The whole buffer is cleared before the text is written.
    memset(buf, 'x', sizeof buf);
    GetPDStateString(24, buf, sizeof buf);
    for (size_t i = strlen("ONLINE"); i < sizeof buf; ++i) ASSERT_EQ(buf[i], '\0') << i;
}

TEST(PdDecode, PortBitmapShiftsTheRecordByteToZero) {
    U8 bitmap = 0x08;
    EXPECT_EQ(ConnectedPortFromBitmap(&bitmap), 3);
    EXPECT_EQ(bitmap, 0);
    bitmap = 0x01;
    EXPECT_EQ(ConnectedPortFromBitmap(&bitmap), 0);
    bitmap = 0x00;
    EXPECT_EQ(ConnectedPortFromBitmap(&bitmap), 0);
    bitmap = 0x81;
    EXPECT_EQ(ConnectedPortFromBitmap(&bitmap), 7);
}

TEST(PdDecode, SpeedZeroDependsOnFamilyForDeviceSpeedOnly) {
    EXPECT_STREQ(PDSpeedText(0, TL_FAMILY_PX2, false), "0");
    EXPECT_STREQ(PDSpeedText(0, TL_FAMILY_PX3, false), "0");
    EXPECT_STREQ(PDSpeedText(0, TL_FAMILY_KV, false), "Unknown");
    EXPECT_STREQ(PDSpeedText(0, TL_FAMILY_PX, false), "Unknown");
    EXPECT_STREQ(PDSpeedText(0, TL_FAMILY_PX2, true), "Unknown");
    EXPECT_STREQ(PDSpeedText(4, TL_FAMILY_KV, false), "12.0Gbps");
    EXPECT_STREQ(PDSpeedText(1, TL_FAMILY_KV, true), "1.5Gbps");
    EXPECT_EQ(PDSpeedText(5, TL_FAMILY_KV, false), nullptr);
}

}  // namespace
