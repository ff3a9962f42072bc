// Console utilities: the paging print function, line and number input, and
// the formatters for hexadecimal dumps, 64-bit numbers, SAS addresses and
// controller time stamps.
//
// All input goes through these functions. Each read flushes standard output
// first so that prompts show when output is a pipe, and end of input ends
// the program through ExitApp instead of waiting forever.
#include <ctype.h>
#include <limits.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include "tarseltest.h"

int numLines = 0;
FILE* fp = stdout;

namespace {

// Lines counted by my_printf before it pauses for the operator.
constexpr int kPageLines = 15;

// Size of the buffer that one my_printf call formats into.
constexpr size_t kPrintBufferSize = 1024;

// Size of the line buffer used by CheckENTER (fgets reads at most 49).
constexpr int kEnterBufferSize = 50;

// Bound on the text InterpretTime writes. The longest text it actually
// produces (the power-on form, at most 24 bits of seconds) is under 90
// characters, so a 96-character buffer is enough; the bound covers every
// value the format's types allow.
constexpr size_t kTimeTextSize = 112;

}  // namespace

void FlushPrompt(void) { fflush(stdout); }

int ReadChar(void) {
    FlushPrompt();
    int c = getchar();
    if (c == EOF) ExitApp();
    return c;
}

int my_printf(const char* format, ...) {
    char buffer[kPrintBufferSize];
    memset(buffer, 0, sizeof buffer);
    va_list args;
    va_start(args, format);
    // Bounded: a text longer than the buffer is cut instead of overflowing.
    vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    printf("%s", buffer);

    if (strchr(buffer, '\n') != nullptr) ++numLines;

    if (fp == stdout && gBVTMode == 0 && numLines == kPageLines) {
        printf("\nPress ENTER to continue");
        // Pending input is kept, so a script of answers still drives the tool.
        ReadChar();
        numLines = 0;
    }
    return 0;
}

void flush_input(void) {
    FlushPrompt();
    for (;;) {
        int c = getchar();
        if (c == EOF) ExitApp();
        if (c == '\n') return;
    }
}

int CheckENTER(char* buffer) {
    memset(buffer, 0, kEnterBufferSize);
    FlushPrompt();
    // Input already typed or piped in is not discarded: it is the answer.
    if (fgets(buffer, kEnterBufferSize, stdin) == nullptr) ExitApp();
    if (buffer[0] == '\n') return 1;
    buffer[strcspn(buffer, "\n\r")] = '\0';
    return 0;
}

void GetInteger(const char* prompt, int* value) {
    // The prompt is a format without arguments: only "%%" has a meaning
    // there, so print it as text with each "%%" shown as one "%".
    for (const char* p = prompt; *p != '\0'; ++p) {
        if (p[0] == '%' && p[1] == '%') ++p;
        putchar(*p);
    }
    char buffer[kEnterBufferSize];
    if (CheckENTER(buffer) == 1) return;
    *value = atoi(buffer);
}

std::string ReadLine(void) {
    FlushPrompt();
    std::string line;
    for (;;) {
        int c = getchar();
        if (c == EOF) {
            // End of input before anything was typed ends the program; a
            // last line without its line end is still an answer.
            if (line.empty()) ExitApp();
            return line;
        }
        if (c == '\n') break;
        line.push_back(static_cast<char>(c));
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

namespace {

// The first character after white space (line ends included, so a blank
// line is not an answer); end of input before it: ExitApp.
int SkipSpace() {
    int c;
    do {
        c = getchar();
        if (c == EOF) ExitApp();
    } while (isspace(c));
    return c;
}

// Discards the rest of the line after `c`; end of input here ends only
// the discard (the next read ends the program).
void DiscardLine(int c) {
    while (c != '\n' && c != EOF) c = getchar();
}

}  // namespace

int ReadIntLine(int* value) {
    FlushPrompt();
    int c = SkipSpace();

    bool negative = false;
    if (c == '+' || c == '-') {
        negative = c == '-';
        c = getchar();
    }
    // Accumulate towards the sign so that INT_MIN is representable; a value
    // past the range of int converts nothing.
    bool digits = false, inRange = true;
    long long n = 0;
    for (; c != EOF && isdigit(c); c = getchar()) {
        digits = true;
        if (inRange) {
            n = n * 10 + (c - '0');
            if (n > static_cast<long long>(INT_MAX) + 1) inRange = false;
        }
    }
    if (negative) n = -n;
    if (n > INT_MAX) inRange = false;
    DiscardLine(c);

    if (!digits || !inRange) return 0;
    *value = static_cast<int>(n);
    return 1;
}

namespace {

// The word that starts with `c` into `out` (at most size-1 characters
// kept), then the rest of the line discarded.
void TakeWord(int c, char* out, size_t size) {
    size_t n = 0;
    for (; c != EOF && !isspace(c); c = getchar())
        if (n + 1 < size) out[n++] = static_cast<char>(c);
    if (size > 0) out[n] = '\0';
    DiscardLine(c);
}

}  // namespace

void ReadWordLine(char* out, size_t size) {
    FlushPrompt();
    TakeWord(SkipSpace(), out, size);
}

int ReadWordOrEnd(char* out, size_t size) {
    FlushPrompt();
    int c;
    do c = getchar();
    while (c != EOF && isspace(c));
    if (c == EOF) return 0;
    TakeWord(c, out, size);
    return 1;
}

void WipeSecret(void* p, size_t n) { explicit_bzero(p, n); }

namespace {

// Echo of the terminal on standard input switched off for the lifetime of
// the object (nothing when standard input is not a terminal). Input typed
// ahead is kept (TCSANOW, not TCSAFLUSH).
class NoEcho {
public:
    NoEcho() {
        active_ = isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &saved_) == 0;
        if (!active_) return;
        struct termios quiet = saved_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    ~NoEcho() { Restore(); }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;
    void Restore() {
        if (!active_) return;
        tcsetattr(STDIN_FILENO, TCSANOW, &saved_);
        // The line end typed was not echoed either.
        putchar('\n');
        active_ = false;
    }

private:
    bool active_ = false;
    struct termios saved_ {};
};

}  // namespace

void ReadSecret(char* buffer, bool oneWord) {
    memset(buffer, 0, TLT_SECRET_SIZE);
    // The no-echo prompt is one blank.
    printf(" ");
    FlushPrompt();
    NoEcho quiet;
    size_t n = 0;
    bool started = !oneWord, ended = false;
    int c;
    // Characters go straight from the stream into the caller's buffer; the
    // stream itself is unbuffered (see TarseltestMain), so no other copy of
    // the line stays behind.
    while ((c = getchar()) != EOF && c != '\n') {
        if (c == '\r') continue;
        const bool blank = c == ' ' || c == '\t';
        if (!started && blank) continue;
        started = true;
        if (oneWord && blank) ended = true;
        if (!ended && n < TLT_SECRET_SIZE - 1) buffer[n++] = static_cast<char>(c);
    }
    quiet.Restore();
    if (n == 0 && feof(stdin)) ExitApp();
}

int HexDump(FILE* stream, const U8* bytes, U32 length) {
    for (U32 i = 0; i < length; ++i) {
        if (i % 16 == 0) fputc('\n', stream);
        fprintf(stream, "%.2X  ", bytes[i]);
    }
    fputc('\n', stream);
    return 0;
}

void FormatSASAddr(U64 address, char* buffer) {
    snprintf(buffer, 17, "%.8x%.8x", static_cast<unsigned>(address >> 32),
             static_cast<unsigned>(address & 0xFFFFFFFFu));
}

char* Print64(U64 value, char* buffer, int size) {
    if (size <= 0) return buffer;
    memset(buffer, 0, static_cast<size_t>(size));
    snprintf(buffer, static_cast<size_t>(size), "%-llu", static_cast<unsigned long long>(value));
    // A 64-bit decimal has at most 20 digits; terminate there when the
    // buffer reaches that far.
    if (size > 20) buffer[20] = '\0';
    return buffer;
}

void swapBytes(const void* source, void* destination, U32 length) {
    const U8* src = static_cast<const U8*>(source);
    U8* dst = static_cast<U8*>(destination);
    memset(dst, 0, length);
    if (length == 0) return;
    // Two indices move inward; with an odd length the middle byte is left 0.
    for (U32 i = 0, j = length - 1; i < j; ++i, --j) {
        dst[i] = src[j];
        dst[j] = src[i];
    }
}

int isLeap(int year) {
    if (year % 400 == 0) return 1;
    if (year % 4 == 0 && year % 100 != 0) return 1;
    return 0;
}

int InterpretTime(U32 time, char* buffer) {
    static const int kMonthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

    bool relative = false;
    U32 secs = time;
    if ((time >> 24) == 0xFF) {
        secs = time & 0x00FFFFFF;
        relative = true;
    }

    long days = static_cast<long>(secs / 86400);
    int rest = static_cast<int>(secs % 86400);
    int hours = rest / 3600;
    rest -= hours * 3600;
    int minutes = rest / 60;
    int seconds = rest - minutes * 60;

    // The leap day is taken off for the year being left.
    int year = 2000;
    int years = 0;
    while (days > 364) {
        days -= 365;
        if (isLeap(year)) days -= 1;
        ++year;
        ++years;
    }

    // February is tested even when January was not subtracted, so days 29
    // to 31 of a year show as days 1 to 3 of month 2.
    int months = 0;
    if (days >= 31) {
        days -= 31;
        ++months;
    }
    if (days >= 28) {
        days -= 28;
        if (isLeap(year)) days -= 1;
        ++months;
    }
    for (int m = 2; m < 12 && kMonthDays[m] <= days; ++m) {
        days -= kMonthDays[m];
        ++months;
    }

    if (relative) {
        snprintf(buffer, kTimeTextSize,
                 " Time elapsed since power on : %d years, %d months, %ld days; %d:%d:%d (h:m:s)", years, months,
                 days, hours, minutes, seconds);
    } else {
        snprintf(buffer, kTimeTextSize, "%d/%d/%d ; %d:%d:%d", months + 1, static_cast<int>(days + 1), 2000 + years,
                 hours, minutes, seconds);
    }
    return 0;
}

std::string StrFormat(const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    va_list copy;
    va_copy(copy, ap);
    const int n = vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string out(n > 0 ? (size_t)n : 0, '\0');
    if (n > 0) vsnprintf(out.data(), out.size() + 1, format, ap);
    va_end(ap);
    return out;
}
