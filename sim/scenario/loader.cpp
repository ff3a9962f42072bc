// Finding, parsing and applying a scenario: the top-level tables, the
// clock, and this variant's section with its faults and controllers.
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "core/clock.h"
#include "model/events.h"
#include "scenario/build.h"
#include "scenario/scenario.h"

namespace tarselsim {

struct EmbeddedPreset {
    const char* name;
    const char* text;
};
extern const EmbeddedPreset kEmbeddedPresets[];

namespace {

const char* SectionOf(int family) {
    switch (family) {
    case TL_FAMILY_KV: return "korvane";
    case TL_FAMILY_PX: return "px";
    case TL_FAMILY_PX2: return "px2";
    default: return "px3";
    }
}

bool ReadFile(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    text = ss.str();
    return true;
}

// Firmware seconds from "YYYY-MM-DD HH:MM:SS" (UTC), or -1.
long long ParseStamp(const std::string& s) {
    struct tm tm {};
    const char* end = strptime(s.c_str(), "%Y-%m-%d %H:%M:%S", &tm);
    if (!end || *end) return -1;
    long long t = static_cast<long long>(timegm(&tm)) - kFirmwareEpoch;
    return t >= 0 && t <= 0xFFFFFFFFLL ? t : -1;
}

void ReadClock(const Node* n, Library& lib) {
    VirtualClock& c = lib.clock;
    c = VirtualClock{};
    c.start = kDefaultFixedStart;
    bool startGiven = false;
    if (n) {
        TableReader t(*n, "clock");
        std::string mode = t.string("mode", "real", 8);
        if (mode != "real" && mode != "fixed") Fail(*t.get("mode"), "clock mode must be \"real\" or \"fixed\"");
        c.fixed = mode == "fixed";
        if (const Node* s = t.get("start")) {
            startGiven = true;
            if (s->kind == Node::Kind::String) {
                long long v = ParseStamp(s->str);
                if (v < 0) Fail(*s, "clock start must be \"YYYY-MM-DD HH:MM:SS\" (2000 or later) or firmware seconds");
                c.start = static_cast<U32>(v);
            } else {
                c.start = static_cast<U32>(TableReader::AsInteger(*s, "clock start", 0, 0xFFFFFFFFLL));
            }
        }
        c.scale = t.real("scale", 1.0, 0.0, 1e6);
        c.step = t.real("step", 0.0, 0.0, 1e9);
        t.finish();
    }
    const char* env = getenv("TARSEL_SIM_CLOCK");
    if (env && strcmp(env, "fixed") == 0) c.fixed = true;
    if (c.fixed) startGiven = true;
    StartClock(lib, startGiven);
}

// A hostile-record mode by name: "off", "random" or "ff".
bool HostileModeFromName(const std::string& name, HostileMode& mode) {
    if (name == "off") mode = HostileMode::Off;
    else if (name == "random") mode = HostileMode::Random;
    else if (name == "ff") mode = HostileMode::Fill;
    else return false;
    return true;
}

void ReadHostile(const Node* n, Library& lib) {
    HostileRecords& h = lib.hostile;
    h = HostileRecords{};
    if (!n) return;
    TableReader t(*n, "hostile");
    if (const Node* m = t.get("mode")) {
        if (!HostileModeFromName(TableReader::AsString(*m, "'mode'", 8), h.mode))
            Fail(*m, "hostile mode must be \"off\", \"random\" or \"ff\"");
    }
    h.seed = static_cast<U64>(t.integer("seed", 0, 0, INT64_MAX));
    t.finish();
}

// TARSEL_SIM_HOSTILE overrides the scenario: "off", "random", "random:SEED"
// or "ff". Returns false for any other text.
bool ApplyHostileEnv(Library& lib) {
    const char* env = getenv("TARSEL_SIM_HOSTILE");
    if (!env || !*env) return true;
    std::string text = env;
    std::string name = text.substr(0, text.find(':'));
    HostileRecords h = lib.hostile;
    if (!HostileModeFromName(name, h.mode)) return false;
    if (name.size() < text.size()) {
        if (h.mode != HostileMode::Random) return false;
        const char* digits = text.c_str() + name.size() + 1;
        const bool hex = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
        if (hex) digits += 2;
        char* end = nullptr;
        errno = 0;
        unsigned long long seed = strtoull(digits, &end, hex ? 16 : 10);
        if (!isxdigit(static_cast<unsigned char>(*digits)) || *end || errno != 0) return false;
        h.seed = seed;
    }
    lib.hostile = h;
    return true;
}

void ReadFault(const Node& n, Library& lib) {
    TableReader t(n, "fault");
    Fault f;
    f.type = static_cast<U8>(TableReader::AsInteger(t.require("type"), "'type'", 0, 255));
    f.code = static_cast<U8>(TableReader::AsInteger(t.require("code"), "'code'", 0, 255));
    if (const Node* op = t.get("opcode")) {
        if (f.type != TL_PASSTHRU_CMD_TYPE || f.code != TL_DCMD_PASSTHRU)
            Fail(*op, "'opcode' applies only to direct commands (type 6, code 3)");
        f.opcode = static_cast<U32>(TableReader::AsInteger(*op, "'opcode'", 1, 0xFFFFFFFFLL));
    }
    f.occurrence = static_cast<U32>(t.integer("occurrence", 0, 0, 0xFFFFFFFFLL));
    f.delaySeconds = static_cast<U32>(t.integer("delay", 0, 0, 60));
    // A delay alone slows the command down and lets it run; otherwise a status is required.
    if (f.delaySeconds == 0 || t.get("status") != nullptr)
        f.status = static_cast<U32>(TableReader::AsInteger(t.require("status"), "'status'", 1, 0xFFFFFFFFLL));
    t.finish();
    lib.faults.push_back(f);
}

Controller ReadController(const Node& n, int family, std::set<U32>& ids) {
    TableReader t(n, "controller");
    Controller c;
    ApplyControllerDefaults(c, family);
    const Node& idNode = t.require("id");
    c.ctrlId = static_cast<U32>(TableReader::AsInteger(idNode, "'id'", 0, 0xFFFFFF));
    if (c.ctrlId == 0xFF) Fail(idNode, "controller id 255 marks a vacant slot in controller lists");
    if (!ids.insert(c.ctrlId).second) Fail(idNode, "duplicate controller id " + std::to_string(c.ctrlId));
    if (const Node* oob = t.get("oob_address")) {
        if (oob->kind != Node::Kind::Array || oob->items.size() != 2) Fail(*oob, "'oob_address' must be [channel, device]");
        c.oobChannel = static_cast<int>(TableReader::AsInteger(oob->items[0], "an oob channel", 0, 255));
        c.oobDevice = static_cast<int>(TableReader::AsInteger(oob->items[1], "an oob device address", 0, 255));
    }
    ReadControllerIdentity(t, c);
    ReadBbu(t, c);

    BuildContext ctx;
    ctx.family = family;
    if (const Node* g = t.table("generate")) {
        for (const char* k : {"enclosures", "drives", "arrays", "logical_drives", "hot_spares"})
            if (t.has(k)) Fail(*g, std::string("'generate' cannot be combined with '") + k + "'");
        Node generated = GenerateTables(*g, family, c.props.coercionMode);
        TableReader gt(generated, "generate");
        ReadDevices(gt, c, ctx);
        ReadConfiguration(gt, c, ctx);
        gt.finish();
        ctx.driveNodes.clear();
        ctx.stateNodes.clear();
    } else {
        ReadDevices(t, c, ctx);
        ReadConfiguration(t, c, ctx);
    }
    ReadControllerOps(t, c, family);
    ReadKeyManagement(t, c);
    ReadForeignConfigs(t, c, family);
    ReadEventLog(t, c);
    t.finish();
    c.info.properties = c.props;
    return c;
}

void ReadVariant(const Node& n, Library& lib) {
    TableReader t(n, SectionOf(lib.family));
    if (const Node* m = t.get("mode")) {
        std::string mode = TableReader::AsString(*m, "'mode'", 16);
        if (mode == "simulation") lib.flags = TL_CTRL_LIST_SIM_MODE;
        else if (mode == "oob") lib.flags = TL_CTRL_LIST_OOB_MODE;
        else if (mode == "none") lib.flags = 0;
        else Fail(*m, "'mode' must be \"simulation\", \"oob\" or \"none\"");
    }
    lib.flags = static_cast<U8>(t.integer("flags", lib.flags, 0, 255));
    lib.initStatus = static_cast<U32>(t.integer("init_status", 0, 0, 0xFFFFFFFFLL));
    lib.versionMajor = t.string("version_major", lib.versionMajor, 8);
    lib.versionMinor = t.string("version_minor", lib.versionMinor, 7);
    for (const Node* f : t.tables("faults")) ReadFault(*f, lib);
    std::set<U32> ids;
    auto ctrls = t.tables("controllers");
    if (ctrls.size() > TL_MAX_CTRLS) Fail(*ctrls[TL_MAX_CTRLS], "at most 64 controllers per variant");
    for (const Node* c : ctrls) lib.controllers.push_back(ReadController(*c, lib.family, ids));
    lib.eventStorm = static_cast<U32>(t.integer("event_storm", 0, 0, 100000000));
    t.finish();
    for (Controller& c : lib.controllers) BootEventLog(lib, c);
}

void Apply(const Node& root, Library& lib) {
    TableReader top(root, "the scenario");
    const char* mine = SectionOf(lib.family);
    ReadClock(top.table("clock"), lib);
    ReadHostile(top.table("hostile"), lib);
    top.get("description");  // free text for the reader of the file
    for (const char* s : {"korvane", "px", "px2", "px3"}) {
        const Node* n = top.table(s);  // every variant section must at least be a table
        if (n && strcmp(s, mine) == 0) ReadVariant(*n, lib);
    }
    top.finish();
}

} // namespace

bool LoadScenarioText(Library& lib, const std::string& text, const std::string& file, std::string& error) {
    // Start from a clean variant, so a refused scenario leaves nothing behind.
    Library fresh;
    fresh.family = lib.family;
    fresh.oobAddresses = lib.oobAddresses;
    try {
        Node root = ParseToml(text);
        Apply(root, fresh);
    } catch (const ScenarioError& e) {
        error = "tarselsim: " + file + ":" + std::to_string(e.line) + ":" + std::to_string(e.column) + ": " + e.message;
        return false;
    }
    if (!ApplyHostileEnv(fresh)) {
        error = "tarselsim: TARSEL_SIM_HOSTILE: expected \"off\", \"random\", \"random:SEED\" or \"ff\", not \"" +
                std::string(getenv("TARSEL_SIM_HOSTILE")) + "\"";
        return false;
    }
    // Each variant draws its own stream from the seed.
    fresh.hostile.state = fresh.hostile.seed ^ (0x9E3779B97F4A7C15ULL * static_cast<U64>(fresh.family + 1));
    fresh.scenarioLoaded = true;
    fresh.scenarioName = file;
    lib = std::move(fresh);
    return true;
}

bool LoadScenario(Library& lib, std::string& error) {
    const char* env = getenv("TARSEL_SIM_SCENARIO");
    std::string name = env && *env ? env : "default";
    bool isPath = name.find('/') != std::string::npos ||
                  (name.size() >= 5 && name.compare(name.size() - 5, 5, ".toml") == 0);
    std::string text;
    if (isPath) {
        if (!ReadFile(name, text)) {
            error = "tarselsim: " + name + ": cannot read the scenario file";
            return false;
        }
        return LoadScenarioText(lib, text, name, error);
    }
    for (const EmbeddedPreset* p = kEmbeddedPresets; p->name; ++p)
        if (name == p->name) return LoadScenarioText(lib, p->text, name + ".toml", error);
#ifdef TARSEL_SIM_PRESET_DIR
    std::string path = std::string(TARSEL_SIM_PRESET_DIR) + "/" + name + ".toml";
    if (ReadFile(path, text)) return LoadScenarioText(lib, text, path, error);
#endif
    std::string known;
    for (const EmbeddedPreset* p = kEmbeddedPresets; p->name; ++p) known += std::string(known.empty() ? "" : ", ") + p->name;
    error = "tarselsim: " + name + ": no such scenario preset (presets: " + known + ")";
    return false;
}

} // namespace tarselsim
