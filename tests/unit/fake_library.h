// A library entry point for the unit tests, installed for every variant,
// and the helpers that turn what a test prints into text to compare:
// each command is answered with the record set for its type and code (or a
// direct command's with the record set for its opcode), copied up to the
// size the block gives, or with the status set for it; `answer` may take a
// command before that. Every block and direct-command input is kept.
#ifndef TARSELTEST_FAKE_LIBRARY_H
#define TARSELTEST_FAKE_LIBRARY_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "format.h"
#include "tarseltest.h"

struct FakeLibrary {
    std::map<std::pair<int, int>, std::vector<U8>> records;
    std::map<std::pair<int, int>, U32> statuses;
    std::map<U32, std::vector<U8>> dcmdRecords;
    std::map<U32, U32> dcmdStatuses;
    // Returns true when it answered the command, with the status in *status.
    std::function<bool(_TL_LIB_CMD_PARAM_T*, U32* status)> answer;
    std::vector<_TL_LIB_CMD_PARAM_T> blocks;
    std::vector<_TL_DCMD_INPUT_T> dcmds;

    template <class T>
    static std::vector<U8> Bytes(const T& record) {
        const U8* p = reinterpret_cast<const U8*>(&record);
        return std::vector<U8>(p, p + sizeof record);
    }
    template <class T>
    void Set(int type, int code, const T& record) { records[{type, code}] = Bytes(record); }
    template <class T>
    void SetDcmd(U32 opcode, const T& record) { dcmdRecords[opcode] = Bytes(record); }
    size_t Count(int type, int code) const {
        return std::count_if(blocks.begin(), blocks.end(),
                             [&](const _TL_LIB_CMD_PARAM_T& b) { return b.cmdType == type && b.cmd == code; });
    }
};

inline FakeLibrary gFake;

inline U32 FakeEntry(_TL_LIB_CMD_PARAM_T* b) {
    gFake.blocks.push_back(*b);
    U32 status = 0;
    if (gFake.answer && gFake.answer(b, &status)) return status;
    auto copy = [](const std::vector<U8>& rec, void* to, U32 size) {
        if (to != nullptr) memcpy(to, rec.data(), std::min<size_t>(rec.size(), size));
    };
    if (b->cmdType == TL_PASSTHRU_CMD_TYPE && b->cmd == TL_DCMD_PASSTHRU) {
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        gFake.dcmds.push_back(*in);
        if (gFake.dcmdStatuses.count(in->opCode)) return gFake.dcmdStatuses[in->opCode];
        if (gFake.dcmdRecords.count(in->opCode)) copy(gFake.dcmdRecords[in->opCode], in->pData, in->dataTransferLength);
        return 0;
    }
    std::pair<int, int> key{b->cmdType, b->cmd};
    if (gFake.statuses.count(key)) return gFake.statuses[key];
    if (gFake.records.count(key)) copy(gFake.records[key], b->pData, b->dataSize);
    return 0;
}

inline int CountOf(const std::string& s, const std::string& needle) {
    int n = 0;
    for (size_t at = s.find(needle); at != std::string::npos; at = s.find(needle, at + needle.size())) ++n;
    return n;
}

// The text between the first `from` and the next `to` (or the end).
inline std::string Between(const std::string& s, const std::string& from, const std::string& to) {
    size_t a = s.find(from);
    if (a == std::string::npos) return "<missing " + from + ">";
    a += from.size();
    size_t b = s.find(to, a);
    return s.substr(a, b == std::string::npos ? std::string::npos : b - a);
}

// What `body` prints on standard output.
template <class F>
std::string Printed(F body) {
    fflush(stdout);
    testing::internal::CaptureStdout();
    body();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// Replaces standard input with the given text for the lifetime of the
// object; the text is followed by end of input.
class StdinFrom {
public:
    explicit StdinFrom(const std::string& text) {
        fflush(stdout);
        // A closed standard input would hand its descriptor to the file
        // below and lose it again; hold the place first.
        if (fcntl(0, F_GETFD) < 0) open("/dev/null", O_RDONLY);
        saved_ = dup(0);
        FILE* tmp = tmpfile();
        fwrite(text.data(), 1, text.size(), tmp);
        fflush(tmp);
        rewind(tmp);
        dup2(fileno(tmp), 0);
        fclose(tmp);
        __fpurge(stdin);
        clearerr(stdin);
    }
    ~StdinFrom() {
        dup2(saved_, 0);
        close(saved_);
        __fpurge(stdin);
        clearerr(stdin);
    }
    StdinFrom(const StdinFrom&) = delete;
    StdinFrom& operator=(const StdinFrom&) = delete;

private:
    int saved_;
};

// Fixture: the fake answers for every variant; the merged list holds a
// Korvane (entry 0), a PX (1), a PX2 (2) and a PX3 (3) controller, entry 0
// selected. Reports go to standard output unpaged (the pager stops only
// while the report stream is standard output).
class FakeLibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        gFake = FakeLibrary{};
        pfnProcessLibCommand = FakeEntry;
        pfnProcessLibCommandKV = pfnProcessLibCommandPX = pfnProcessLibCommandPX2 = pfnProcessLibCommandPX3 = FakeEntry;
        libKVPresent = libPXPresent = libPX2Present = libPX3Present = 1;
        memset(&gCtrlList, 0, sizeof gCtrlList);
        memset(&gCtrlListKV, 0, sizeof gCtrlListKV);
        gCtrlList.count = 4;
        gCtrlList.ctrlId[0] = 0x00000007u;
        gCtrlList.ctrlId[1] = 0x01000001u;
        gCtrlList.ctrlId[2] = 0x02000001u;
        gCtrlList.ctrlId[3] = 0x04000001u;
        gSelController = 0;
        gBVTMode = 0;
        savedFp_ = fp;
        fp = stderr;
    }
    void TearDown() override {
        gBVTMode = 0;
        gSelController = -1;
        fp = savedFp_;
    }

private:
    FILE* savedFp_ = nullptr;
};

#endif
