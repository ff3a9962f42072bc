// tarselsim-mkimage: writes a firmware image that the simulated library
// accepts: a controller flash image or a drive microcode image (formats in
// docs/scenarios.md, "Firmware images").
//
//   tarselsim-mkimage controller OUT [--version V] [--type N] [--component NAME]
//                     [--date D] [--time T] [--package P] [--pci VENDOR:DEVICE] [--payload BYTES]
//   tarselsim-mkimage drive OUT [--revision R] [--vendor V] [--product P] [--size BYTES]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "model/flash_image.h"

using namespace tarselsim;

namespace {

int Usage() {
    fprintf(stderr,
            "usage: tarselsim-mkimage controller OUT [--version V] [--type 0-3] [--component NAME]\n"
            "                         [--date D] [--time T] [--package P] [--pci VENDOR:DEVICE] [--payload BYTES]\n"
            "       tarselsim-mkimage drive OUT [--revision R] [--vendor V] [--product P] [--size BYTES]\n");
    return 2;
}

bool Write(const std::string& path, const std::vector<U8>& image) {
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) {
        perror(path.c_str());
        return false;
    }
    bool ok = fwrite(image.data(), 1, image.size(), f) == image.size();
    ok = fclose(f) == 0 && ok;
    if (!ok) fprintf(stderr, "%s: write failed\n", path.c_str());
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) return Usage();
    const std::string kind = argv[1], out = argv[2];
    CtrlImage c;
    c.version = "5.130.00-2301";
    c.component = "APP";
    c.buildDate = "Jan 09 2026";
    c.buildTime = "08:15:00";
    c.packageVersion = "31.08.0-0001";
    DriveImage d;
    d.revision = "F001";
    size_t payload = 4096, size = 65536;
    for (int i = 3; i < argc; ++i) {
        std::string opt = argv[i];
        if (i + 1 >= argc) return Usage();
        std::string v = argv[++i];
        if (opt == "--version") c.version = v;
        else if (opt == "--type") c.imageType = static_cast<U32>(strtoul(v.c_str(), nullptr, 0));
        else if (opt == "--component") c.component = v;
        else if (opt == "--date") c.buildDate = v;
        else if (opt == "--time") c.buildTime = v;
        else if (opt == "--package") c.packageVersion = v;
        else if (opt == "--pci") {
            size_t colon = v.find(':');
            if (colon == std::string::npos) return Usage();
            c.pciVendor = static_cast<U16>(strtoul(v.substr(0, colon).c_str(), nullptr, 0));
            c.pciDevice = static_cast<U16>(strtoul(v.substr(colon + 1).c_str(), nullptr, 0));
        } else if (opt == "--payload") payload = strtoul(v.c_str(), nullptr, 0);
        else if (opt == "--revision") d.revision = v;
        else if (opt == "--vendor") d.vendor = v;
        else if (opt == "--product") d.product = v;
        else if (opt == "--size") size = strtoul(v.c_str(), nullptr, 0);
        else return Usage();
    }
    if (kind == "controller") return Write(out, MakeCtrlImage(c, payload)) ? 0 : 1;
    if (kind == "drive") {
        if (size < kDriveImageHeader) {
            fprintf(stderr, "a drive image holds at least %zu bytes\n", kDriveImageHeader);
            return 2;
        }
        return Write(out, MakeDriveImage(d, size - kDriveImageHeader)) ? 0 : 1;
    }
    return Usage();
}
