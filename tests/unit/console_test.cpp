// Console utilities: formatters, the pager and the input readers.
#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <stdint.h>
#include <string.h>
#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "fake_library.h"

namespace {

// What is left unread on standard input.
std::string RestOfInput() {
    std::string rest;
    for (int c; (c = getchar()) != EOF;) rest.push_back(static_cast<char>(c));
    return rest;
}

std::string Dump(const std::vector<U8>& bytes) {
    char* text = nullptr;
    size_t size = 0;
    FILE* mem = open_memstream(&text, &size);
    EXPECT_EQ(0, HexDump(mem, bytes.data(), static_cast<U32>(bytes.size())));
    fclose(mem);
    std::string out(text, size);
    free(text);
    return out;
}

std::string TimeText(U32 stamp) {
    char buffer[128];
    memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(0, InterpretTime(stamp, buffer));
    EXPECT_LT(strlen(buffer), 96u);  // fits the documented 96-character buffer
    return buffer;
}

// Pager state for one test, restored afterwards.
class PagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedMode_ = gBVTMode;
        savedFp_ = fp;
        gBVTMode = 0;
        fp = stdout;
        numLines = 0;
    }
    void TearDown() override {
        gBVTMode = savedMode_;
        fp = savedFp_;
        numLines = 0;
    }

private:
    int savedMode_ = 0;
    FILE* savedFp_ = nullptr;
};

const char kPause[] = "\nPress ENTER to continue";

}  // namespace

// ---- formatters ----

TEST(Print64, PrintsEveryDigitOfTheLargestValueAndClearsTheRest) {
    char buffer[32];
    memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(buffer, Print64(UINT64_MAX, buffer, sizeof buffer));
    EXPECT_STREQ("18446744073709551615", buffer);
    Print64(0, buffer, sizeof buffer);
    EXPECT_STREQ("0", buffer);
    for (size_t i = 1; i < sizeof buffer; ++i) EXPECT_EQ('\0', buffer[i]) << i;
    char exact[21];
    EXPECT_STREQ("12345678901234567890", Print64(12345678901234567890ull, exact, sizeof exact));
}

TEST(SwapBytes, ReversesWithOddMiddleByteLeftZero) {
    const U8 src[] = {0x01, 0x02, 0x03, 0x04};
    U8 out[5];
    memset(out, 0xAA, sizeof out);
    swapBytes(src, out, 3);
    EXPECT_EQ(std::vector<U8>(out, out + 4), (std::vector<U8>{0x03, 0x00, 0x01, 0xAA}));
    swapBytes(src, out, 4);
    EXPECT_EQ(std::vector<U8>(out, out + 5), (std::vector<U8>{0x04, 0x03, 0x02, 0x01, 0xAA}));
}

TEST(FormatSASAddr, SixteenLowerCaseDigitsHighWordFirst) {
    char buffer[17];
    FormatSASAddr(0x500605B0000272D0ull, buffer);
    EXPECT_STREQ("500605b0000272d0", buffer);
    FormatSASAddr(0x0000000100000000ull, buffer);
    EXPECT_STREQ("0000000100000000", buffer);
}

TEST(IsLeap, CenturyRules) {
    EXPECT_EQ(0, isLeap(1900));
    EXPECT_EQ(1, isLeap(2000));
    EXPECT_EQ(1, isLeap(2024));
    EXPECT_EQ(0, isLeap(2023));
    EXPECT_EQ(0, isLeap(2100));
}

TEST(InterpretTime, AbsoluteStamps) {
    EXPECT_EQ("1/1/2000 ; 0:0:0", TimeText(0));
    // 29 January 2001: the February test runs without January subtracted.
    EXPECT_EQ("2/1/2001 ; 0:0:0", TimeText(34041600));
    // 29 January 2000: 2000 is a leap year, so its leap day goes as well.
    EXPECT_EQ("2/0/2000 ; 0:0:5", TimeText(2419205));
    // 1 March 2001 and 31 December 2001 walk the month table to its end.
    EXPECT_EQ("3/1/2001 ; 0:0:0", TimeText((366 + 59) * 86400u));
    EXPECT_EQ("12/31/2001 ; 12:34:56", TimeText(730 * 86400u + 12 * 3600 + 34 * 60 + 56));
    // 31 December 2000: leaving the leap year 2000 takes 366 days off 365.
    EXPECT_EQ("1/0/2001 ; 23:59:59", TimeText(365 * 86400u + 86399));
}

TEST(InterpretTime, PowerOnStamps) {
    EXPECT_EQ(" Time elapsed since power on : 0 years, 0 months, 0 days; 1:0:0 (h:m:s)", TimeText(0xFF000E10));
    // Largest 24-bit count: 194 days, 4:20:15.
    EXPECT_EQ(" Time elapsed since power on : 0 years, 6 months, 12 days; 4:20:15 (h:m:s)", TimeText(0xFFFFFFFF));
    // A top byte other than 0xFF is an absolute stamp.
    EXPECT_EQ(std::string::npos, TimeText(0xFE000000).find("Time elapsed"));
}

TEST(HexDump, SixteenBytesALineEachLineStartedByANewline) {
    EXPECT_EQ("\n", Dump({}));
    std::vector<U8> bytes;
    for (int i = 0; i < 17; ++i) bytes.push_back(static_cast<U8>(i == 16 ? 0xAB : i));
    EXPECT_EQ(
        "\n00  01  02  03  04  05  06  07  08  09  0A  0B  0C  0D  0E  0F  "
        "\nAB  \n",
        Dump(bytes));
}

// ---- my_printf and the pager ----

TEST_F(PagerTest, FifteenthCountedCallPausesAndWaitsForOneCharacter) {
    StdinFrom in("xy\n");
    std::string out = Printed([] {
        for (int i = 1; i <= 14; ++i) my_printf("line %d\n", i);
    });
    EXPECT_EQ(std::string::npos, out.find(kPause));
    EXPECT_EQ(14, numLines);

    out = Printed([] { my_printf("line %d\n", 15); });
    EXPECT_EQ(std::string("line 15\n") + kPause, out);
    EXPECT_EQ(0, numLines);
    EXPECT_EQ("y\n", RestOfInput());  // exactly one character was taken
}

TEST_F(PagerTest, CountsCallsNotNewlines) {
    StdinFrom in("");
    std::string out = Printed([] {
        my_printf("no line end");
        my_printf("%s", "");
        my_printf("a\nb\nc\n");
    });
    EXPECT_EQ("no line enda\nb\nc\n", out);
    EXPECT_EQ(1, numLines);
}

TEST_F(PagerTest, NoPauseInBVTModeOrWhenTheReportGoesToAFile) {
    StdinFrom in("");
    gBVTMode = 1;
    std::string out = Printed([] {
        for (int i = 0; i < 20; ++i) my_printf("x\n");
    });
    EXPECT_EQ(std::string::npos, out.find(kPause));
    EXPECT_EQ(20, numLines);

    gBVTMode = 0;
    numLines = 0;
    FILE* report = tmpfile();
    fp = report;
    out = Printed([] {
        for (int i = 0; i < 20; ++i) my_printf("x\n");
    });
    fclose(report);
    EXPECT_EQ(std::string::npos, out.find(kPause));
}

TEST_F(PagerTest, LongTextIsCutAtTheBufferSize) {
    std::string longText(3000, 'a');
    std::string out = Printed([&] { EXPECT_EQ(0, my_printf("%s\n", longText.c_str())); });
    EXPECT_EQ(std::string(1023, 'a'), out);
    EXPECT_EQ(0, numLines);  // the newline was cut off with the rest
}

// ---- line input ----

TEST(CheckENTER, EnterAloneAndTextCutAtItsLineEnd) {
    StdinFrom in("\nabc\r\n12\n" + std::string(60, 'z') + "\n");
    char buffer[50];
    EXPECT_EQ(1, CheckENTER(buffer));
    EXPECT_EQ(0, CheckENTER(buffer));
    EXPECT_STREQ("abc", buffer);
    EXPECT_EQ(0, CheckENTER(buffer));
    EXPECT_STREQ("12", buffer);
    for (size_t i = 2; i < sizeof buffer; ++i) EXPECT_EQ('\0', buffer[i]) << i;
    // At most 49 characters are taken; the rest stays for the next read.
    EXPECT_EQ(0, CheckENTER(buffer));
    EXPECT_EQ(std::string(49, 'z'), buffer);
    EXPECT_EQ(std::string(11, 'z') + "\n", RestOfInput());
}

TEST(GetInteger, EnterKeepsTheValueTextIsConverted) {
    StdinFrom in("\nabc\n42\n-7 apples\n\n");
    int value = 5;
    // The prompt is printed as a format without arguments.
    EXPECT_EQ("Enter count (current = %d): ", Printed([&] { GetInteger("Enter count (current = %%d): ", &value); }));
    EXPECT_EQ(5, value);
    for (int expected : {0, 42, -7, -7}) {
        GetInteger("", &value);
        EXPECT_EQ(expected, value);
    }
}

TEST(ReadIntLine, NumbersThatFitAnIntAndNothingElse) {
    // Blank lines are no answer; the last line needs no line end.
    StdinFrom in("-1\n 42abc\n+7\n2147483647\n-2147483648\n\t 9 10\n"
                 "abc\n\n2147483648\n-2147483649\n99999999999999999999999\n-\n x1\n12");
    for (int expected : {-1, 42, 7, 2147483647, INT32_MIN, 9}) {
        int value = 99;
        EXPECT_EQ(1, ReadIntLine(&value));
        EXPECT_EQ(expected, value);
    }
    for (int i = 0; i < 6; ++i) {
        int value = 99;
        EXPECT_EQ(0, ReadIntLine(&value)) << i;
        EXPECT_EQ(99, value) << i;  // kept
    }
    int value = 0;
    EXPECT_EQ(1, ReadIntLine(&value));
    EXPECT_EQ(12, value);
    EXPECT_EQ("", RestOfInput());  // each call took its whole line
}

TEST(FlushInput, DiscardsOneLine) {
    StdinFrom in("rest of line\nnext\n");
    flush_input();
    EXPECT_EQ("next\n", RestOfInput());
}

TEST(ReadWord, OneWordPerLineAndTheUnattendedFormKeepsTheValueAtTheEnd) {
    StdinFrom in("\n  fw.img extra words\nabcdefgh\n");
    char word[6] = "old";
    ReadWordLine(word, sizeof word);
    EXPECT_STREQ("fw.im", word);  // cut to the buffer, the rest of the line gone
    EXPECT_EQ(1, ReadWordOrEnd(word, sizeof word));
    EXPECT_STREQ("abcde", word);
    strcpy(word, "keep");
    EXPECT_EQ(0, ReadWordOrEnd(word, sizeof word));
    EXPECT_STREQ("keep", word);
}

// ---- end of input ends the program with status 0 ----

TEST(EndOfInputDeathTest, EveryReaderEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "fast");
    char line[50];
    int v;
    struct Case {
        const char* input;
        std::function<void()> read;
    };
    for (const Case& c : {Case{"", [&] { ReadIntLine(&v); }}, Case{"no line end", [] { flush_input(); }},
                          Case{"", [&] { CheckENTER(line); }}, Case{"", [] { ReadChar(); }},
                          Case{" \n", [&] { ReadWordLine(line, sizeof line); }}}) {
        StdinFrom in(c.input);
        EXPECT_EXIT(c.read(), testing::ExitedWithCode(0), "");
    }
}
