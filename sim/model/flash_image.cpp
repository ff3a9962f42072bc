// Firmware image formats of the simulated firmware.
#include "model/flash_image.h"

#include <algorithm>
#include <cstring>

namespace tarselsim {

namespace {

constexpr char kCtrlSignature[8] = {'T', 'S', 'L', 'C', 'T', 'R', 'L', '1'};
constexpr char kDriveSignature[8] = {'T', 'S', 'L', 'D', 'R', 'V', 'F', 'W'};
constexpr size_t kCtrlChecksumOffset = 124;
constexpr size_t kDriveChecksumOffset = 60;

U32 GetU32(const U8* p) {
    U32 v;
    memcpy(&v, p, 4);
    return v;
}

U16 GetU16(const U8* p) {
    U16 v;
    memcpy(&v, p, 2);
    return v;
}

void PutU32(U8* p, U32 v) { memcpy(p, &v, 4); }
void PutU16(U8* p, U16 v) { memcpy(p, &v, 2); }

std::string Text(const U8* p, size_t width) {
    const char* s = reinterpret_cast<const char*>(p);
    return std::string(s, strnlen(s, width));
}

void PutText(U8* p, size_t width, const std::string& s) { memcpy(p, s.data(), std::min(width, s.size())); }

// The checks both formats share: size, signature, announced length, checksum.
ImageCheck CheckFrame(const U8* data, size_t size, const char* signature, size_t header, size_t payloadOffset,
                      size_t checksumOffset) {
    if (size < header) return ImageCheck::TooShort;
    if (memcmp(data, signature, 8) != 0) return ImageCheck::BadSignature;
    const size_t whole = header + GetU32(data + payloadOffset);
    if (size < whole) return ImageCheck::Truncated;
    if (size > whole) return ImageCheck::Oversized;
    if (ImageChecksum(data, size, checksumOffset) != GetU32(data + checksumOffset)) return ImageCheck::BadChecksum;
    return ImageCheck::Ok;
}

void FillPayload(std::vector<U8>& image, size_t header) {
    for (size_t i = header; i < image.size(); ++i) image[i] = static_cast<U8>((i * 31u + 7u) & 0xFF);
}

} // namespace

U32 ImageChecksum(const U8* data, size_t size, size_t checksumOffset) {
    U32 sum = 0;
    for (size_t i = 0; i < size; ++i)
        if (i < checksumOffset || i >= checksumOffset + 4) sum += data[i];
    return sum;
}

ImageCheck CheckCtrlImage(const U8* data, size_t size, CtrlImage* out) {
    ImageCheck r = CheckFrame(data, size, kCtrlSignature, kCtrlImageHeader, 12, kCtrlChecksumOffset);
    if (r != ImageCheck::Ok || out == nullptr) return r;
    out->imageType = GetU32(data + 16);
    out->pciVendor = GetU16(data + 20);
    out->pciDevice = GetU16(data + 22);
    out->component = Text(data + 24, 8);
    out->version = Text(data + 32, 32);
    out->buildDate = Text(data + 64, 16);
    out->buildTime = Text(data + 80, 16);
    out->packageVersion = Text(data + 96, 24);
    return r;
}

ImageCheck CheckDriveImage(const U8* data, size_t size, DriveImage* out) {
    ImageCheck r = CheckFrame(data, size, kDriveSignature, kDriveImageHeader, 12, kDriveChecksumOffset);
    if (r != ImageCheck::Ok || out == nullptr) return r;
    out->revision = Text(data + 8, 4);
    out->vendor = Text(data + 16, 8);
    out->product = Text(data + 24, 16);
    return r;
}

std::vector<U8> MakeCtrlImage(const CtrlImage& h, size_t payloadSize) {
    std::vector<U8> image(kCtrlImageHeader + payloadSize, 0);
    U8* p = image.data();
    memcpy(p, kCtrlSignature, 8);
    PutU32(p + 8, static_cast<U32>(kCtrlImageHeader));
    PutU32(p + 12, static_cast<U32>(payloadSize));
    PutU32(p + 16, h.imageType);
    PutU16(p + 20, h.pciVendor);
    PutU16(p + 22, h.pciDevice);
    PutText(p + 24, 8, h.component);
    PutText(p + 32, 32, h.version);
    PutText(p + 64, 16, h.buildDate);
    PutText(p + 80, 16, h.buildTime);
    PutText(p + 96, 24, h.packageVersion);
    FillPayload(image, kCtrlImageHeader);
    PutU32(p + kCtrlChecksumOffset, ImageChecksum(p, image.size(), kCtrlChecksumOffset));
    return image;
}

std::vector<U8> MakeDriveImage(const DriveImage& h, size_t payloadSize) {
    std::vector<U8> image(kDriveImageHeader + payloadSize, 0);
    U8* p = image.data();
    memcpy(p, kDriveSignature, 8);
    PutText(p + 8, 4, h.revision);
    PutU32(p + 12, static_cast<U32>(payloadSize));
    PutText(p + 16, 8, h.vendor);
    PutText(p + 24, 16, h.product);
    FillPayload(image, kDriveImageHeader);
    PutU32(p + kDriveChecksumOffset, ImageChecksum(p, image.size(), kDriveChecksumOffset));
    return image;
}

} // namespace tarselsim
