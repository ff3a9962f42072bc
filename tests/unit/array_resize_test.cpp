// Growing an array (an operation no menu reaches) run in-process against
// the simulated library: the choices listed, a choice out of range, the
// record sent, and the free space the configuration summary reports before
// and after.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <string>

#include "array.h"
#include "config.h"
#include "fake_library.h"

namespace {

// Drives 10 and 11 hold array 0 with 500000 MB used on each of them; a
// RAID 1 of 400000 MB leaves 100000 MB free on each.
const char kScenario[] =
    "[korvane]\n[[korvane.controllers]]\nid = 0\n"
    "[[korvane.controllers.drives]]\ndevice_id = 10\nsize_mb = 1144641\n"
    "[[korvane.controllers.drives]]\ndevice_id = 11\nsize_mb = 1144641\n"
    "[[korvane.controllers.arrays]]\ndrives = [10, 11]\nsize_mb = 500000\n"
    "[[korvane.controllers.logical_drives]]\nraid = 1\narrays = [0]\nsize_mb = 400000\n";

// Megabytes a 1144641 MB drive keeps after the 512 MB metadata area and
// the Korvane default coercion to whole gigabytes.
constexpr unsigned long long kCoercedMB = (1144641 - 512) / 1024 * 1024;

class ResizeOnTheSimulator : public ::testing::Test {
protected:
    void SetUp() override {
        std::string path = ::testing::TempDir() + "resize_scenario.toml";
        std::ofstream(path) << kScenario;
        setenv("TARSEL_SIM_SCENARIO", path.c_str(), 1);
        handle_ = dlopen(TARSEL_SIM_DIR "/libtarsel.so", RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle_, nullptr) << dlerror();
        auto entry = reinterpret_cast<ProcessLibCommandFunc>(dlsym(handle_, "ProcessLibCommand"));
        ASSERT_NE(entry, nullptr);
        pfnProcessLibCommand = pfnProcessLibCommandKV = entry;
        libKVPresent = 1;
        libPXPresent = libPX2Present = libPX3Present = 0;
        for (_TL_CTRL_LIST_T* l : {&gCtrlListKV, &gCtrlListPX, &gCtrlListPX2, &gCtrlListPX3}) memset(l, 0, sizeof *l);
        Printed([] { ASSERT_EQ(InitializeLibraryKV(), 0u); });
        mergeControllerLists();
        gSelController = 0;
    }
    void TearDown() override {
        gSelController = -1;
        libKVPresent = 0;
        pfnProcessLibCommand = pfnProcessLibCommandKV = nullptr;
        if (handle_ != nullptr) dlclose(handle_);
        unsetenv("TARSEL_SIM_SCENARIO");
    }
    static std::string ArrayRow(unsigned long long usedMB, unsigned long long freeMB) {
        return F("%-20d%-21s", 0, std::to_string(usedMB).c_str()) + F("%-21s\n", std::to_string(freeMB).c_str());
    }
    static std::string Summary() {
        return Printed([] {
            _TLT_CONFIG_INFO info{};
            ConfigSummary(&info);
            FreeConfigSummary(&info);
        });
    }

private:
    void* handle_ = nullptr;
};

TEST_F(ResizeOnTheSimulator, GrowsToTheSmallestDriveAndTheSummaryShowsTheNewFreeSpace) {
    // Free space of an array is per drive times its drives.
    EXPECT_NE(Summary().find(ArrayRow(2 * 400000, 2 * 100000)), std::string::npos);
    std::string out;
    {
        StdinFrom in("5\n1\n");
        out = Printed([] { EXPECT_EQ(ResizeArray(), 0u); });
    }
    const std::string choice = "Number of Arrays Present# 1\nChoice 1: Array Ref 0 \n" +
                               F("\tCurrent Size is %llu\n", 500000ULL * 2048) +
                               F("\tOptimized Size is %llu\n", kCoercedMB * 2048) + "Enter Choice ";
    EXPECT_EQ(out, choice + "Invalid Input!! Try Again\n" + choice);
    EXPECT_NE(Summary().find(ArrayRow(2 * 400000, 2 * (kCoercedMB - 400000))), std::string::npos);
    {
        StdinFrom in("");
        out = Printed([] { EXPECT_EQ(ResizeArray(), 0u); });
    }
    EXPECT_EQ(out, "Number of Arrays Present# 1\nArray Ref 0 Already Optimized\nNo Arrays to Optimize\n");
}

}  // namespace
