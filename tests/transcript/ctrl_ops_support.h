// Helpers of the controller-operation transcript tests: firmware images in
// the simulator's documented formats, the bytes of a trace line, and runs
// of system menu items.
#ifndef TARSELTEST_CTRL_OPS_SUPPORT_H
#define TARSELTEST_CTRL_OPS_SUPPORT_H

#include <stdint.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "controller_support.h"

namespace ctrltest {

// The controller tests' own scenario (controller.toml beside the tests) as
// text, so that tables can follow it.
inline std::string CtrlScenario() {
    std::ifstream in(std::string(TARSEL_SOURCE_DIR) + "/tests/transcript/controller.toml");
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// A drive table in enclosure `encl`.
inline std::string CtrlDrive(int id, int encl, int slot, const char* iface, const char* media, const char* speed,
                             const std::string& addresses) {
    return F("[[korvane.controllers.drives]]\ndevice_id = %d\nenclosure = %d\nslot = %d\ninterface = \"%s\"\n"
             "media = \"%s\"\nsize_mb = 1144641\ndevice_speed = \"%s\"\nsas_addresses = [%s]\n",
             id, encl, slot, iface, media, speed, addresses.c_str());
}

inline void PutLE(std::string& s, size_t at, uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) s[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

inline void PutText(std::string& s, size_t at, const std::string& text) { s.replace(at, text.size(), text); }

// Sum of the image's bytes, the four checksum bytes counted as zero.
inline uint32_t ByteSum(const std::string& s, size_t checksumAt) {
    uint32_t sum = 0;
    for (size_t i = 0; i < s.size(); ++i)
        if (i < checksumAt || i >= checksumAt + 4) sum += static_cast<unsigned char>(s[i]);
    return sum;
}

// A controller flash image: the 128-byte header (signature "TSLCTRL1",
// sizes, type, PCI ids, component texts, checksum at 124) and a payload.
inline std::string ControllerImage(const std::string& version, uint32_t type = 0, uint16_t vendor = 0,
                                   uint16_t device = 0, size_t payload = 1000) {
    std::string s(128 + payload, '\0');
    PutText(s, 0, "TSLCTRL1");
    PutLE(s, 8, 128, 4);
    PutLE(s, 12, payload, 4);
    PutLE(s, 16, type, 4);
    PutLE(s, 20, vendor, 2);
    PutLE(s, 22, device, 2);
    PutText(s, 24, "APP");
    PutText(s, 32, version);
    PutText(s, 64, "Feb 02 2026");
    PutText(s, 80, "12:00:00");
    for (size_t i = 128; i < s.size(); ++i) s[i] = static_cast<char>(i * 7);
    PutLE(s, 124, ByteSum(s, 124), 4);
    return s;
}

// A drive microcode image: the 64-byte header (signature "TSLDRVFW",
// revision at 8, payload size at 12, checksum at 60) and a payload, `size`
// bytes in all.
inline std::string DriveImage(const std::string& revision, size_t size) {
    std::string s(size, '\0');
    PutText(s, 0, "TSLDRVFW");
    PutText(s, 8, revision);
    PutLE(s, 12, size - 64, 4);
    for (size_t i = 64; i < s.size(); ++i) s[i] = static_cast<char>(i * 13);
    PutLE(s, 60, ByteSum(s, 60), 4);
    return s;
}

// The data bytes of a trace line.
inline std::vector<uint8_t> TraceData(const std::string& line) {
    std::string hex = TraceField(line, "data");
    std::vector<uint8_t> out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

inline std::string Hex(const std::vector<uint8_t>& bytes, size_t from, size_t count) {
    std::string s;
    for (size_t i = from; i < from + count && i < bytes.size(); ++i) s += F("%02X", bytes[i]);
    return s;
}

// Runs controller menu items with extra files in the work directory.
inline RunResult RunCtrlWithFiles(const std::string& items, const std::map<std::string, std::string>& files,
                                  const std::string& scenarioText = "", const std::string& select = "") {
    RunSpec runSpec;
    runSpec.scenarioText = scenarioText.empty() ? CtrlScenario() : scenarioText;
    runSpec.files = files;
    runSpec.input = StartInput(select + "3\n" + items + std::string(60, '\n'));
    return RunTool(runSpec);
}

// Runs system menu items (menu 2 of the main menu).
inline RunResult RunSystem(const std::string& items, const std::string& scenario = "",
                           const std::string& scenarioText = "", const std::string& select = "") {
    RunSpec runSpec;
    runSpec.scenario = scenario.empty() ? "default" : scenario;
    runSpec.scenarioText = scenario.empty() && scenarioText.empty() ? CtrlScenario() : scenarioText;
    runSpec.input = StartInput(select + "2\n" + items + std::string(60, '\n'));
    return RunTool(runSpec);
}

}  // namespace ctrltest

#endif
