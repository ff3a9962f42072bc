// A parsed scenario document: a plain tree of TOML values that keeps each
// value's source position, so that semantic errors can name file, line and
// column. Only toml_reader.cpp sees the TOML parser; everything else reads
// this tree through TableReader.
#ifndef TARSELSIM_SCENARIO_NODE_H
#define TARSELSIM_SCENARIO_NODE_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarselsim {

struct Node;

struct Member {
    std::string key;
    int line = 0, column = 0;  // position of the key
};

struct Node {
    enum class Kind { Table, Array, String, Integer, Float, Boolean, Other };
    Kind kind = Kind::Table;
    int line = 0, column = 0;
    std::string str;
    int64_t integer = 0;
    double real = 0;
    bool boolean = false;
    // Table members, in document order: keys[i] names values[i].
    std::vector<Member> keys;
    std::vector<Node> values;
    // Array items.
    std::vector<Node> items;

    const char* kindName() const;
};

// A refused scenario: the position and the message.
struct ScenarioError {
    int line = 0, column = 0;
    std::string message;
};

[[noreturn]] void Fail(const Node& at, const std::string& message);
[[noreturn]] void FailAt(int line, int column, const std::string& message);

// Parses TOML text into a tree; throws ScenarioError on a syntax error.
Node ParseToml(const std::string& text);

// Typed access to one table; remembers the keys read so that finish() can
// refuse any key the schema does not know (a misspelt key is an error, not
// a silently ignored setting).
class TableReader {
public:
    // `what` names the table in messages ("controller", "drive 12", ...).
    TableReader(const Node& table, std::string what);

    const Node& node() const { return table_; }
    bool has(const char* key) const;
    const Node* get(const char* key);           // marks the key as known
    const Node& require(const char* key);

    int64_t integer(const char* key, int64_t def, int64_t min, int64_t max);
    std::optional<int64_t> optInteger(const char* key, int64_t min, int64_t max);
    double real(const char* key, double def, double min, double max);
    bool boolean(const char* key, bool def);
    std::optional<bool> optBoolean(const char* key);
    std::string string(const char* key, const std::string& def, size_t maxLen);
    std::optional<std::string> optString(const char* key, size_t maxLen);
    // An array of tables (or an absent key: empty).
    std::vector<const Node*> tables(const char* key);
    // A sub-table, or null when absent.
    const Node* table(const char* key);

    // Refuses keys that were never asked for.
    void finish() const;

    // The value as an integer in range (with the node's position on error).
    static int64_t AsInteger(const Node& n, const std::string& what, int64_t min, int64_t max);
    static std::string AsString(const Node& n, const std::string& what, size_t maxLen);

private:
    const Node& table_;
    std::string what_;
    std::set<std::string> known_;
};

} // namespace tarselsim

#endif
