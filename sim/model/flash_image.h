// Firmware image formats of the simulated firmware: the controller's flash
// image and a drive's microcode image. Both are a small header with a
// signature, version texts and a checksum, followed by a payload the
// simulator does not interpret. The checksum is the sum of every byte of
// the image, the checksum field counted as zero, modulo 2^32.
//
// Controller image (128-byte header, little-endian):
//   0 "TSLCTRL1"  8 headerSize U32 (128)  12 payloadSize U32  16 imageType U32 (0 firmware, 1 BIOS, 2 FCODE, 3 EFI)
//  20 pciVendor U16 (0: any)  22 pciDevice U16 (0: any)  24 component char[8]  32 version char[32]
//  64 buildDate char[16]  80 buildTime char[16]  96 packageVersion char[24]  120 reserved U32  124 checksum U32
//
// Drive image (64-byte header):
//   0 "TSLDRVFW"  8 revision char[4]  12 payloadSize U32  16 vendor char[8] (empty: any)
//  24 product char[16] (empty: any)  40 reserved[20]  60 checksum U32
#ifndef TARSELSIM_MODEL_FLASH_IMAGE_H
#define TARSELSIM_MODEL_FLASH_IMAGE_H

#include <cstddef>
#include <string>
#include <vector>

#include "tarsel.h"

namespace tarselsim {

constexpr size_t kCtrlImageHeader = 128;
constexpr size_t kDriveImageHeader = 64;

enum class ImageCheck {
    Ok,
    TooShort,      // smaller than the header
    BadSignature,
    Truncated,     // fewer bytes than the header announces
    Oversized,     // more bytes than the header announces
    BadChecksum,
};

struct CtrlImage {
    U32 imageType = 0;
    U16 pciVendor = 0, pciDevice = 0;
    std::string component, version, buildDate, buildTime, packageVersion;
};

struct DriveImage {
    std::string revision, vendor, product;
};

// Sum of the bytes of an image with the 4 bytes at checksumOffset counted as zero.
U32 ImageChecksum(const U8* data, size_t size, size_t checksumOffset);

ImageCheck CheckCtrlImage(const U8* data, size_t size, CtrlImage* out);
ImageCheck CheckDriveImage(const U8* data, size_t size, DriveImage* out);

// A valid image with the given header fields and `payloadSize` bytes of a
// fixed pattern (used by the image maker and the tests).
std::vector<U8> MakeCtrlImage(const CtrlImage& header, size_t payloadSize);
std::vector<U8> MakeDriveImage(const DriveImage& header, size_t payloadSize);

} // namespace tarselsim

#endif
