// The object callback's file and the poll-list printer, on crafted records.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "oob.h"

namespace {

class ObjectCallback : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/tarseltest-oob-XXXXXX";
        dir_ = mkdtemp(tmpl);
        old_ = getcwd(nullptr, 0);
        ASSERT_EQ(chdir(dir_.c_str()), 0);
    }
    void TearDown() override {
        ASSERT_EQ(chdir(old_), 0);
        free(old_);
        ASSERT_EQ(system(("rm -rf " + dir_).c_str()), 0);
    }
    static std::string Read(const char* name) {
        std::ifstream in(name);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }
    std::string dir_;
    char* old_ = nullptr;
};

TEST_F(ObjectCallback, AppendsEachObjectToItsRegistrationsFile) {
    _TL_OBJ_DETAIL_T d{};
    d.ctrlId = 0x04000005;  // family in the top byte: only the low 24 bits are the controller
    d.registrationId = 7;
    d.objInfo.length = 20;
    d.objInfo.objType = KV_OOB_OBJ_CTRL_TEMPERATURE;
    d.objInfo.record.ctrlTemp.ctrlTemperature = 41;
    d.objInfo.record.ctrlTemp.rocTemperature = 58;
    ObjInfoCallBack(&d);

    d.objInfo.objType = KV_OOB_OBJ_PD_REMOVED;
    memset(&d.objInfo.record, 0, sizeof d.objInfo.record);
    d.objInfo.record.removedBitmap[1] = 0x05;   // drives 8 and 10
    d.objInfo.record.removedBitmap[11] = 0x80;  // drive 95
    ObjInfoCallBack(&d);

    // A non-zero status writes nothing.
    d.status = 1;
    ObjInfoCallBack(&d);

    const std::string dump1 = "\n14  00  00  00  04  00  00  00  29  3A  00  00  00  00  00  00  \n00  00  00  00  \n";
    const std::string dump2 = "\n14  00  00  00  40  00  00  00  00  05  00  00  00  00  00  00  \n00  00  00  80  \n";
    EXPECT_EQ(Read("tlObjID7.txt"),
              "Controller ID : 5\nRegistration ID : 7\n" + dump1 +
                  "\nobjType:Controller Temperature\nCtrl temperature: 41 C\nCtrl ROC temperature: 58 C\n"
                  "Controller ID : 5\nRegistration ID : 7\n" + dump2 +
                  "\nobjType:PD removed.\ndeviceId: 8\ndeviceId: 10\ndeviceId: 95\n");
}

TEST_F(ObjectCallback, PollListStopsAtALengthOutsideTheBuffer) {
    // Two objects announced; the second claims more bytes than the list holds.
    std::vector<U8> list(4 + 20 + 8, 0);
    list[1] = 2;
    _TL_OOB_OBJ_INFO_T first{};
    first.length = 20;
    first.objType = KV_OOB_OBJ_EVENT_LOG_INFO;
    first.record.eventLog.newestEventSeqNum = 300;
    first.record.eventLog.newestEventSeqNumOOB = 12;
    memcpy(list.data() + 4, &first, sizeof first);
    const U32 huge = 0xFFFFFFF0u;
    memcpy(list.data() + 24, &huge, sizeof huge);
    testing::internal::CaptureStdout();
    PrintOOBobjList(list.data(), list.size());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n\nList Objects changed since last poll = 2\n\n"
              "\nobjType:Event Log Info\nnewestEventSeqNum: 300\nnewestEventSeqNumOOB: 12\n");
}

}  // namespace
