// Start-up and shutdown of the tool.
#ifndef TARSELTEST_STARTUP_H
#define TARSELTEST_STARTUP_H

/* The whole program: load, initialise, merge, options, menu or BVT runs. */
int TarseltestMain(int argc, char** argv);

/* File a variant is opened from: its standard path, or the file of the same
   name in TARSELTEST_LIBDIR when that is set. */
const char* LibraryPath(int code, char* buffer, unsigned size);

#endif
