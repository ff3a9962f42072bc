// The unattended runner's groups, its parameter file and its report
// writers (the text logs and the JUnit XML report).
#ifndef TARSELTEST_BVT_GROUPS_H
#define TARSELTEST_BVT_GROUPS_H

#include <string>

#include "tarseltest.h"

extern const char kBVTLog[];       /* "BVTlog.txt" */
extern const char kBVTErrorLog[];  /* "BVTErrorLog.txt" */

/* ---- logs ---- */
void sep(void);
/* Appends one text to the log and another to the error log. */
void BVTAppendBoth(const char* logText, const char* errText);
/* A group's start banner in both logs, logging on; and its end. */
void BVTBeginGroup(const char* name);
void BVTEndGroup(const char* name);

/* ---- parameter file and the run's globals ---- */
int BVTReadParam(char* str, const char* param);
void CreateConfigFile(void);
void BVTSetParams(void);
int BVTValidateParams(void);
void BVTSetGlobals(void);

/* ---- groups ---- */
void TestSystemGroup(void);
void TestCtrlGroup(void);
void TestPDGroup(void);
void TestLDGroup(void);
void TestConfigGroup(void);
void TestBBUGroup(void);
void TestPassthruGroup(void);
void TestEventGroup(void);
void TestEnclGroup(void);
void TestOOBGroup(void);
void TestAllGroups(void);

/* ---- JUnit XML report (TARSELTEST_JUNIT=path; nothing when unset) ---- */
/* Counts the runs of this process; suites are named by group and run. */
void JUnitBeginRun(void);
void JUnitBeginSuite(const char* group);
/* One logged library call: its names, status, duration in seconds (fine
   resolution) and the whole-second duration the text logs judge by. */
void JUnitAddCase(const char* typeName, const char* api, U32 rval, double seconds, double wholeSeconds);
/* The parameter dump of the last failed call. */
void JUnitAttachDump(const std::string& dump);
/* Appends the suite to the report file. */
void JUnitEndSuite(void);

#endif
