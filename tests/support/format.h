// Expected texts built with the documented formats.
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

#endif
