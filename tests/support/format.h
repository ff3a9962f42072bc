// Expected texts built with the documented formats, and the text of a
// simulator preset.
#ifndef TARSELTEST_FORMAT_H
#define TARSELTEST_FORMAT_H

#include <stdarg.h>
#include <stdio.h>

#include <string>

inline std::string F(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
inline std::string F(const char* fmt, ...) {
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return buf;
}

#ifdef TARSEL_SOURCE_DIR
// The text of a preset shipped in sim/scenarios ("" when it cannot be read).
inline std::string PresetText(const std::string& name) {
    std::string text;
    FILE* f = fopen((std::string(TARSEL_SOURCE_DIR) + "/sim/scenarios/" + name + ".toml").c_str(), "r");
    if (f == nullptr) return text;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
    fclose(f);
    return text;
}
#endif

#endif
