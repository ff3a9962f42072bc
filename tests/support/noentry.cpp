// A shared object that loads but exports no library entry point.
extern "C" int tarseltest_noentry_marker() { return 1; }
