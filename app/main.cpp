// Program entry: everything happens in TarseltestMain.
#include "startup.h"

int main(int argc, char** argv) { return TarseltestMain(argc, argv); }
