// Command trace lines.
#include "core/trace.h"

#include "kv_security.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tarselsim {

namespace {

constexpr size_t kMaxDataBytes = 512;

// Leading bytes of a direct command's buffer that hold a key, a pass
// phrase or an escrow copy: the trace shows each of them as "**".
size_t SecretBytes(U32 opcode, size_t length) {
    switch (opcode) {
    case KV_DCMD_CTRL_LOCK_KEY_CREATE:
        return length < offsetof(KV_CTRL_LOCK_KEY_PARAMS, keyId) ? length : offsetof(KV_CTRL_LOCK_KEY_PARAMS, keyId);
    case KV_DCMD_CTRL_LOCK_KEY_REKEY:
    case KV_DCMD_CTRL_LOCK_KEY_BACKUP:
    case KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW:
    case KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW: return length;
    default: return 0;
    }
}

std::string MaskedHex(U32 opcode, const void* p, size_t n) {
    size_t secret = SecretBytes(opcode, n);
    return std::string(secret * 2, '*') + HexBytes(static_cast<const unsigned char*>(p) + secret, n - secret);
}

std::string Format(const char* fmt, unsigned long long a, unsigned long long b = 0, unsigned long long c = 0) {
    char buf[96];
    snprintf(buf, sizeof buf, fmt, a, b, c);
    return buf;
}

} // namespace

std::string HexBytes(const void* p, size_t n) {
    static const char digits[] = "0123456789ABCDEF";
    const auto* b = static_cast<const unsigned char*>(p);
    std::string s;
    s.reserve(n * 2);
    for (size_t i = 0; i < n; ++i) {
        s.push_back(digits[b[i] >> 4]);
        s.push_back(digits[b[i] & 15]);
    }
    return s;
}

void TraceRecord::Capture(int family, const _TL_LIB_CMD_PARAM_T* blk) {
    const char* path = getenv("TARSEL_SIM_TRACE");
    if (!path || !*path || !blk) {
        path_.clear();
        return;
    }
    path_ = path;
    head_ = Format("variant=%llu type=%llu code=%llu", static_cast<unsigned long long>(family), blk->cmdType, blk->cmd);
    head_ += Format(" ctrl=0x%08llX", blk->ctrlId);
    head_ += " ref=" + HexBytes(&blk->genRef, 8);
    head_ += " param=" + HexBytes(blk->cmdParam_1b, 8);
    head_ += Format(" size=%llu", blk->dataSize);

    tail_.clear();
    bool hasData = blk->dataSize > 0 && blk->pData;
    bool isDcmd = blk->cmdType == TL_PASSTHRU_CMD_TYPE && blk->cmd == TL_DCMD_PASSTHRU;
    if (isDcmd) {
        // The input record is read only when it has exactly its own size.
        if (hasData && blk->dataSize == sizeof(_TL_DCMD_INPUT_T)) {
            _TL_DCMD_INPUT_T in;
            memcpy(&in, blk->pData, sizeof in);
            tail_ += Format(" opcode=0x%08llX dlen=%llu dflags=%llu", in.opCode, in.dataTransferLength, in.flags);
            tail_ += " mbox=" + HexBytes(in.mbox.b, sizeof in.mbox.b);
            if (in.dataTransferLength > 0 && in.pData)
                tail_ += " data=" + MaskedHex(in.opCode, in.pData,
                                              in.dataTransferLength < kMaxDataBytes ? in.dataTransferLength : kMaxDataBytes);
        }
        return;
    }
    if (hasData)
        tail_ += " data=" + HexBytes(blk->pData, blk->dataSize < kMaxDataBytes ? blk->dataSize : kMaxDataBytes);
}

std::string TraceRecord::Line(U32 status) const {
    return head_ + Format(" status=0x%llX", status) + tail_;
}

void TraceRecord::Write(U32 status) const {
    if (path_.empty()) return;
    std::string line = Line(status) + "\n";
    int fd = open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return;
    ssize_t n = write(fd, line.data(), line.size());
    (void)n;
    close(fd);
}

} // namespace tarselsim
