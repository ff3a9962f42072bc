// The JUnit XML report of BVT runs: one test suite per group and run, one
// test case per logged library call. The file is kept well formed after
// every suite: each new suite is written over the closing tag, which is
// then written again, so a run stopped half way still leaves a report.
#include <stdarg.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "bvt_groups.h"

namespace {

struct Case {
    std::string className;
    std::string name;
    U32 rval = 0;
    double seconds = 0;
    double wholeSeconds = 0;
    std::string dump;
};

struct Suite {
    std::string name;
    std::vector<Case> cases;
    bool open = false;
};

Suite gSuite;
int gRun = 0;
long gClosePos = -1;  // where the closing tag starts in the file; -1 before the first suite

const char* ReportPath() {
    const char* path = getenv("TARSELTEST_JUNIT");
    return path != nullptr && path[0] != '\0' ? path : nullptr;
}

std::string Escape(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default:
            if ((unsigned char)c < 0x20 && c != '\n' && c != '\t') {
                out += ' ';
            } else {
                out += c;
            }
        }
    }
    return out;
}

std::string SuiteXml(const Suite& s) {
    int failures = 0;
    double total = 0;
    for (const Case& c : s.cases) {
        if (c.rval != 0) ++failures;
        total += c.seconds;
    }
    std::string xml = StrFormat("  <testsuite name=\"%s\" tests=\"%zu\" failures=\"%d\" errors=\"0\" time=\"%.6f\">\n",
                             Escape(s.name).c_str(), s.cases.size(), failures, total);
    for (const Case& c : s.cases) {
        xml += StrFormat("    <testcase classname=\"%s\" name=\"%s\" time=\"%.6f\"", Escape(c.className).c_str(),
                      Escape(c.name).c_str(), c.seconds);
        const bool slow = c.wholeSeconds > 2.0;
        if (c.rval == 0 && !slow) {
            xml += "/>\n";
            continue;
        }
        xml += ">\n";
        if (c.rval != 0)
            xml += StrFormat("      <failure type=\"0x%X\" message=\"Return Value: 0x%X\">", c.rval, c.rval) +
                   Escape(c.dump) + "</failure>\n";
        if (slow)
            xml += StrFormat("      <system-err>!!!!!WARNING!!!!!API runtime:%.2lf seconds (exceeded threshold of 2 "
                          "seconds)</system-err>\n",
                          c.wholeSeconds);
        xml += "    </testcase>\n";
    }
    xml += "  </testsuite>\n";
    return xml;
}

// Appends one suite to the report, keeping the document closed.
void AppendSuite(const Suite& s, const char* path) {
    FILE* f = nullptr;
    if (gClosePos < 0) {
        f = fopen(path, "w");
        if (f == nullptr) return;
        fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"tarseltest BVT\">\n", f);
    } else {
        f = fopen(path, "r+");
        if (f == nullptr) return;
        fseek(f, gClosePos, SEEK_SET);
    }
    fputs(SuiteXml(s).c_str(), f);
    gClosePos = ftell(f);
    fputs("</testsuites>\n", f);
    fclose(f);
}

}  // namespace

void JUnitBeginRun(void) { ++gRun; }

void JUnitBeginSuite(const char* group) {
    gSuite = Suite{};
    gSuite.open = ReportPath() != nullptr;
    gSuite.name = gRun > 0 ? StrFormat("%s run %d", group, gRun) : std::string(group);
}

void JUnitAddCase(const char* typeName, const char* api, U32 rval, double seconds, double wholeSeconds) {
    if (!gSuite.open || !gPrintEnable) return;
    gSuite.cases.push_back(Case{typeName, api, rval, seconds, wholeSeconds, {}});
}

void JUnitAttachDump(const std::string& dump) {
    if (!gSuite.open || !gPrintEnable || gSuite.cases.empty()) return;
    gSuite.cases.back().dump = dump;
}

void JUnitEndSuite(void) {
    if (!gSuite.open) return;
    gSuite.open = false;
    if (const char* path = ReportPath()) AppendSuite(gSuite, path);
    gSuite.cases.clear();
}
