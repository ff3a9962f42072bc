// The SAS topology (controller menu item 6) on the simulator. The expected
// trees are printed by a small oracle from a description of the domain that
// follows the documented derivation (PHYs split among the connectors, one
// expander per enclosure cascaded by position, drives on their slot PHYs,
// the SES device on the PHY after the slots) and the documented walk
// texts; node offsets follow the documented placement (depth-first order of
// first reach, each node right after the previous one).
#include <stdint.h>

#include <set>
#include <string>
#include <vector>

#include "ctrl_ops_support.h"

using namespace ctrltest;

namespace {

enum { kNone = 0, kIoc = 1, kEdge = 2, kEnd = 4 };

struct Link {
    int type = kNone;
    int node = -1;   // index in Domain::nodes
    int phy = 0;     // attached PHY id
    bool disabled = false;
};

struct Node {
    int type = kEnd;
    uint64_t addr = 0;           // expanders
    int id = 0;                  // end devices
    const char* bitmap = "";     // tokens as printed
    std::vector<uint64_t> addrs; // end-device PHYs
    std::vector<Link> phys;      // head and expander PHYs
};

struct Domain {
    std::vector<Node> nodes;     // nodes[0]: the head
    std::vector<long> offset;
    long total = 0;

    int Add(Node n) {
        nodes.push_back(std::move(n));
        return static_cast<int>(nodes.size()) - 1;
    }
    long Size(const Node& n) const {
        if (n.type == kIoc) return 136;
        if (n.type == kEnd) return 12 + 16 * static_cast<long>(n.addrs.size());
        return 16 + 8 * static_cast<long>(n.phys.size());
    }
    void Place(int i) {
        offset[i] = total;
        total += Size(nodes[i]);
        for (const Link& l : nodes[i].phys)
            if (!l.disabled && l.node >= 0 && offset[l.node] < 0) Place(l.node);
    }
    void Layout() {
        offset.assign(nodes.size(), -1);
        total = 0;
        Place(0);
    }
    long Off(const Link& l) const { return l.node >= 0 ? offset[l.node] : 0; }
};

const char* TypeText(int type) {
    switch (type) {
    case kNone: return "No Device\n";
    case kIoc: return "IOC\n";
    case kEdge: return "Edge Expander\n";
    case kEnd: return "End Device\n";
    default: return "";
    }
}

std::string Addr(uint64_t a) { return F("%.8x%.8x", static_cast<unsigned>(a >> 32), static_cast<unsigned>(a)); }

// The documented walk over a domain description.
struct Oracle {
    const Domain& d;
    std::set<uint64_t> visited;
    std::string out;

    void EndDevice(int i, const std::string& s, int attachedPhy) {
        const Node& n = d.nodes[i];
        const char* c = s.c_str();
        out += F("\n\t%s---Printing End Device Information---\n", c) + F("\t%sDevice Id is %d\n", c, n.id) +
               F("\t%sDevice Bitmap:", c) + n.bitmap + "\n" +
               F("\t%sNumber of Phys is %d\n", c, static_cast<int>(n.addrs.size()));
        for (size_t k = 0; k < n.addrs.size(); ++k) {
            out += F("%s\tPhy %d SAS Address is %s ", c, static_cast<int>(k), Addr(n.addrs[k]).c_str());
            out += static_cast<int>(k) == attachedPhy ? F("\n%s\tthis is the target PHY for this path\n", c) : "\n";
        }
        out += F("\n\t%s---End of End Device Information---\n", c);
    }

    void Expander(int i, const std::string& s) {
        const Node& n = d.nodes[i];
        const char* c = s.c_str();
        out += F("\n%s---Printing Expander Information---\n", c);
        if (!visited.insert(n.addr).second) {
            out += F("%s Already Visited Expander SAS Address %s\n", c, Addr(n.addr).c_str()) +
                   F("\n%s---End of Expander Information---\n", c);
            return;
        }
        out += F("%sDevice Type is ", c) + TypeText(n.type) + F("%sDevice Bitmap:", c) + " SMP Target\n" +
               F("%sNumber of Phy is %d\n", c, static_cast<int>(n.phys.size())) +
               F("%sSAS Address is %s\n", c, Addr(n.addr).c_str());
        std::string child = s + "\t";
        for (size_t k = 0; k < n.phys.size(); ++k) {
            const Link& l = n.phys[k];
            out += F("\n%s\tPhy %d attached Device type is ", c, static_cast<int>(k)) + TypeText(l.type) +
                   F("%s\tAttached Device Offset is %ld\n", c, d.Off(l));
            if (l.type != kEnd && l.type != kEdge) continue;
            out += F("%sAttached Phy ID %d\n", child.c_str(), l.phy) + F("%sVisiting Phy %d\n", child.c_str(), static_cast<int>(k));
            if (l.type == kEdge) Expander(l.node, child);
            else if (d.Off(l) != d.offset[i]) EndDevice(l.node, child, l.phy);
        }
        out += F("\n%s---End of Expander Information---\n", c);
    }

    std::string Walk() {
        const Node& head = d.nodes[0];
        out = "DISCOVERY STARTED ......\nHEAD NODE (IOC) -- \n\n\tDevice Type IOC\n" +
              F("\tnumPhy %d\n", static_cast<int>(head.phys.size())) + F("\tTotal Size %ldBytes\n", d.total) +
              "\n\tEXPLORING PHYs\n\n";
        for (size_t k = 0; k < head.phys.size(); ++k) {
            const Link& l = head.phys[k];
            out += F("\t\tPHY%d:\n", static_cast<int>(k));
            if (l.disabled) {
                out += "\t\tPhy is disabled.";
                continue;
            }
            out += std::string("\t\tAttached Device type is ") + TypeText(l.type) +
                   F("\t\tAttached Device offset is %ld\n", d.Off(l)) +
                   F("\t\tAttached Phy ID is %d\n\t\tVISITING PHY %d\n\n", l.phy, static_cast<int>(k));
            if (l.type == kEnd) EndDevice(l.node, "\t\t\t", l.phy);
            else if (l.type == kEdge) Expander(l.node, "\t\t\t");
        }
        return out + "\n\t\t---End of Topology Information---\n\n\n";
    }
};

struct Slot {
    int id;
    bool sata;
    std::vector<uint64_t> addrs;
};

// One enclosure's expander by the documented derivation; `parent` is the
// head (its PHYs `firstHeadPhy`...) or the previous expander of the cascade.
int AddEnclosure(Domain& d, uint64_t enclAddr, int enclId, int width, int slots, const std::vector<Slot>& drives,
                 int parent, int firstHeadPhy) {
    Node x;
    x.type = kEdge;
    x.addr = enclAddr - 1;
    x.phys.resize(static_cast<size_t>(2 * width + slots + 1));
    int xi = d.Add(x);
    for (int k = 0; k < width; ++k) {
        if (parent == 0) {
            d.nodes[0].phys[firstHeadPhy + k] = {kEdge, xi, k};
            d.nodes[xi].phys[k] = {kIoc, 0, firstHeadPhy + k};
        } else {
            int cascade = static_cast<int>(d.nodes[parent].phys.size()) - width + k;
            d.nodes[parent].phys[cascade] = {kEdge, xi, k};
            d.nodes[xi].phys[k] = {kEdge, parent, cascade};
        }
    }
    for (int s = 0; s < slots; ++s) {
        const Slot& sl = drives[static_cast<size_t>(s)];
        if (sl.id < 0) continue;
        Node e;
        e.id = sl.id;
        e.bitmap = sl.sata ? " SATA Device" : " SSP Target";
        e.addrs = sl.addrs;
        d.nodes[xi].phys[width + s] = {kEnd, d.Add(e), 0};
    }
    Node ses;
    ses.id = enclId;
    ses.bitmap = " SSP Target";
    ses.addrs = {enclAddr};
    d.nodes[xi].phys[width + slots] = {kEnd, d.Add(ses), 0};
    return xi;
}

Domain HeadOnly(int phys) {
    Domain d;
    Node head;
    head.type = kIoc;
    head.phys.resize(static_cast<size_t>(phys));
    d.Add(head);
    return d;
}

// The default preset: 8 PHYs, 4 connectors (2 PHYs each); enclosure 8 on
// connector 0, enclosure 9 (slots numbered from 4) on connector 2.
Domain DefaultDomain() {
    Domain d = HeadOnly(8);
    const uint64_t b = 0x5000C500A3B40000ULL;
    std::vector<Slot> e8 = {{10, false, {b + 0xA1, b + 0xA2}}, {11, false, {b + 0xB1, b + 0xB2}}, {12, false, {b + 0xC1}},
                            {13, false, {b + 0xD1}},           {14, false, {b + 0xE1}},           {15, false, {b + 0xF1}},
                            {16, true, {b + 0x101}},           {17, true, {b + 0x111}},           {18, true, {b + 0x121}},
                            {19, true, {b + 0x131}},           {20, false, {b + 0x141}},          {21, true, {b + 0x151}}};
    std::vector<Slot> e9 = {{22, false, {b + 0x161, b + 0x162}}, {23, false, {b + 0x171, b + 0x172}},
                            {24, true, {b + 0x181}},             {25, false, {b + 0x191, b + 0x192}},
                            {-1, false, {}}, {-1, false, {}}, {-1, false, {}}, {-1, false, {}}};
    AddEnclosure(d, 0x500E3C0000A0083DULL, 8, 2, 12, e8, 0, 0);
    AddEnclosure(d, 0x500E3C0000A0093DULL, 9, 2, 8, e9, 0, 4);
    d.Layout();
    return d;
}

// The large preset: 16 PHYs, 4 connectors (4 PHYs each); enclosures
// 240-247 of 30 SAS drives (ids from 0, default addresses), enclosure e on
// connector e % 4 at position e / 4 + 1.
Domain LargeDomain() {
    Domain d = HeadOnly(16);
    int first[4] = {-1, -1, -1, -1};
    for (int e = 0; e < 8; ++e) {
        std::vector<Slot> slots;
        for (int s = 0; s < 30; ++s) {
            int id = e * 30 + s;
            slots.push_back({id, false, {0x5000C500A3B40000ULL + (static_cast<uint64_t>(id) << 4) + 1}});
        }
        int id = 240 + e;
        uint64_t addr = 0x500E3C0000A0003DULL + (static_cast<uint64_t>(id) << 8);
        int parent = e < 4 ? 0 : first[e % 4];
        int x = AddEnclosure(d, addr, id, 4, 30, slots, parent, 4 * (e % 4));
        if (e < 4) first[e] = x;
    }
    d.Layout();
    return d;
}

// The crafted loop of the scenario option hostile = "cycle".
Domain CycleDomain() {
    Domain d = HeadOnly(2);
    const uint64_t base = 0x500E3C00000F0000ULL;
    Node x;
    x.type = kEdge;
    x.phys.resize(3);
    x.addr = base + 0x10;
    int a = d.Add(x);
    x.addr = base + 0x20;
    int b = d.Add(x);
    x.addr = base + 0x30;
    int c = d.Add(x);
    Node end;
    end.id = 40;
    end.bitmap = " SSP Target";
    end.addrs = {base + 0x100};
    int e = d.Add(end);
    d.nodes[0].phys = {{kEdge, a, 0}, {kEdge, c, 2}};
    d.nodes[a].phys = {{kIoc, 0, 0}, {kEdge, b, 0}, {kEdge, a, 2}};
    d.nodes[b].phys = {{kEdge, a, 1}, {kEdge, c, 0}, {kEnd, b, 0}};
    d.nodes[c].phys = {{kEdge, b, 1}, {kEdge, a, 1}, {kEnd, e, 0}};
    d.Layout();
    return d;
}

RunResult RunTopology(const std::string& scenario, const std::string& scenarioText, int pauses) {
    RunSpec runSpec;
    runSpec.scenario = scenario;
    runSpec.scenarioText = scenarioText;
    runSpec.input = StartInput("3\n6\n" + std::string(static_cast<size_t>(pauses), '\n'));
    return RunTool(runSpec);
}

TEST(Topology, DefaultPresetTree) {
    RunResult r = RunTopology("default", "", 100);
    Domain d = DefaultDomain();
    std::string expected = Oracle{d, {}, {}}.Walk();
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {expected})) << Unpaged(r.out);
}

TEST(Topology, LargePresetTree) {
    RunResult r = RunTopology("large", "", 600);
    Domain d = LargeDomain();
    std::string out = Unpaged(r.out);
    std::string expected = Oracle{d, {}, {}}.Walk();
    EXPECT_TRUE(ContainsInOrder(out, {expected})) << out.substr(0, 4000);
    // Each of the 8 expanders in full once; every other arrival is answered
    // by "Already Visited": 3 head PHYs per connector, 4 uplinks of each
    // second expander, and 3 more cascade PHYs of each first one.
    EXPECT_EQ(CountOf(out, "Device Type is Edge Expander"), 8);
    EXPECT_EQ(CountOf(out, "Already Visited Expander SAS Address"), 4 * (3 + 4 + 3));
}

TEST(Topology, DisabledPhysAndDirectDrives) {
    // Two PHYs, no connector: the drive outside any enclosure takes the
    // first PHY that is not disabled.
    std::string s = KorvaneScenario("device_ports = 2\ndevice_sas_addresses = [0x5001E3C0A1B2C300, 0x5001E3C0A1B2C301]",
                                    "[korvane.controllers.topology]\ndisabled_phys = [0]\n" +
                                        std::string("[[korvane.controllers.drives]]\ndevice_id = 5\nsize_mb = 100000\n"
                                                    "interface = \"sata\"\nsas_addresses = [0x5000C500A3B40051]\n"));
    RunResult r = RunTopology("", s, 20);
    Domain d = HeadOnly(2);
    d.nodes[0].phys[0].disabled = true;
    Node end;
    end.id = 5;
    end.bitmap = " SATA Device";
    end.addrs = {0x5000C500A3B40051ULL};
    d.nodes[0].phys[1] = {kEnd, d.Add(end), 0};
    d.Layout();
    std::string expected = Oracle{d, {}, {}}.Walk();
    // The disabled PHY's line runs on into the next PHY's header.
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {expected})) << r.out;
}

TEST(Topology, LoopPrintsEveryExpanderOnceAndEnds) {
    RunResult r = RunTopology("", KorvaneScenario("", "[korvane.controllers.topology]\nhostile = \"cycle\"\n"), 40);
    Domain d = CycleDomain();
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {Oracle{d, {}, {}}.Walk()})) << out;
    EXPECT_EQ(CountOf(out, "Device Type is Edge Expander"), 3);
}

TEST(Topology, OffsetsOutsideTheBufferAreNotFollowed) {
    RunResult r = RunTopology("", KorvaneScenario("", "[korvane.controllers.topology]\nhostile = \"offsets\"\n"), 40);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"\tTotal Size 168Bytes\n",
                                      "\t\tAttached Device offset is 65528\n\t\tAttached Phy ID is 0\n\t\tVISITING PHY 0\n\n"
                                      "\t\tPHY1:\n",
                                      "\t\tAttached Device offset is 32764\n\t\tAttached Phy ID is 0\n\t\tVISITING PHY 1\n\n"
                                      "\t\tPHY2:\n",
                                      // Past totalSize: the zero bytes of the buffer.
                                      "\t\t\tDevice Type is No Device\n\t\t\tDevice Bitmap: No Bit is Set\n"
                                      "\t\t\tNumber of Phy is 0\n\t\t\tSAS Address is 0000000000000000\n",
                                      "\t\t\t\tAttached Device Offset is 65520\n",
                                      // A node whose PHY list crosses the end: the list stops there.
                                      "\t\t\t\t\tDevice Id is 41\n",
                                      "\t\t\t\t\tNumber of Phys is 2\n\n\t\t\t\t\t---End of End Device Information---\n",
                                      "\n\t\t---End of Topology Information---\n"}))
        << out;
}

TEST(Topology, PhyCountsLargerThanTheirRoom) {
    RunResult r = RunTopology("", KorvaneScenario("", "[korvane.controllers.topology]\nhostile = \"phy_counts\"\n"), 200);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"\tnumPhy 255\n", "\t\t\tNumber of Phy is 200\n", "\t\t\t\tPhy 5 attached",
                                      "\t\t\t---End of Expander Information---\n", "\t\t\t\tNumber of Phys is 255\n",
                                      "\t\tPHY254:\n", "\n\t\t---End of Topology Information---\n"}))
        << out.substr(0, 3000);
    EXPECT_EQ(CountOf(out, "\t\t\t\tPhy 6 attached"), 0);  // the seventh entry would lie past the buffer
}

TEST(Topology, FailureTexts) {
    RunResult r = RunTopology("", KorvaneScenario("", "", Fault(1, 6, 0x800A)), 5);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Invalid controller\n"})) << r.out;
    r = RunTopology("", KorvaneScenario("", "", Fault(1, 6, 0x800C)), 5);
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetTopology : ProcessLibCommandCall failed; rval = 0x800C\n"})) << r.out;
    EXPECT_EQ(r.out.find("DISCOVERY STARTED"), std::string::npos);
}

}  // namespace
