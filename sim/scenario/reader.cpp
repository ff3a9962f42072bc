// Typed, position-aware access to scenario tables.
#include <cmath>
#include <string>

#include "scenario/node.h"

namespace tarselsim {

const char* Node::kindName() const {
    switch (kind) {
    case Kind::Table: return "a table";
    case Kind::Array: return "an array";
    case Kind::String: return "a string";
    case Kind::Integer: return "an integer";
    case Kind::Float: return "a number";
    case Kind::Boolean: return "a boolean";
    default: return "a date or time";
    }
}

void Fail(const Node& at, const std::string& message) {
    FailAt(at.line, at.column, message);
}

void FailAt(int line, int column, const std::string& message) {
    ScenarioError e;
    e.line = line;
    e.column = column;
    e.message = message;
    throw e;
}

TableReader::TableReader(const Node& table, std::string what) : table_(table), what_(std::move(what)) {
    if (table.kind != Node::Kind::Table) Fail(table, what_ + " must be a table, not " + table.kindName());
}

bool TableReader::has(const char* key) const {
    for (const Member& m : table_.keys)
        if (m.key == key) return true;
    return false;
}

const Node* TableReader::get(const char* key) {
    known_.insert(key);
    for (size_t i = 0; i < table_.keys.size(); ++i)
        if (table_.keys[i].key == key) return &table_.values[i];
    return nullptr;
}

const Node& TableReader::require(const char* key) {
    const Node* n = get(key);
    if (!n) Fail(table_, what_ + ": missing key '" + key + "'");
    return *n;
}

int64_t TableReader::AsInteger(const Node& n, const std::string& what, int64_t min, int64_t max) {
    if (n.kind != Node::Kind::Integer) Fail(n, what + " must be an integer, not " + n.kindName());
    if (n.integer < min || n.integer > max)
        Fail(n, what + " is " + std::to_string(n.integer) + ", outside " + std::to_string(min) + ".." + std::to_string(max));
    return n.integer;
}

std::string TableReader::AsString(const Node& n, const std::string& what, size_t maxLen) {
    if (n.kind != Node::Kind::String) Fail(n, what + " must be a string, not " + n.kindName());
    if (n.str.size() > maxLen)
        Fail(n, what + " is longer than " + std::to_string(maxLen) + " characters");
    return n.str;
}

int64_t TableReader::integer(const char* key, int64_t def, int64_t min, int64_t max) {
    auto v = optInteger(key, min, max);
    return v ? *v : def;
}

std::optional<int64_t> TableReader::optInteger(const char* key, int64_t min, int64_t max) {
    const Node* n = get(key);
    if (!n) return std::nullopt;
    return AsInteger(*n, "'" + std::string(key) + "'", min, max);
}

double TableReader::real(const char* key, double def, double min, double max) {
    const Node* n = get(key);
    if (!n) return def;
    double v;
    if (n->kind == Node::Kind::Float) v = n->real;
    else if (n->kind == Node::Kind::Integer) v = static_cast<double>(n->integer);
    else Fail(*n, "'" + std::string(key) + "' must be a number, not " + n->kindName());
    if (!(v >= min && v <= max)) Fail(*n, "'" + std::string(key) + "' is out of range");
    return v;
}

bool TableReader::boolean(const char* key, bool def) {
    auto v = optBoolean(key);
    return v ? *v : def;
}

std::optional<bool> TableReader::optBoolean(const char* key) {
    const Node* n = get(key);
    if (!n) return std::nullopt;
    if (n->kind != Node::Kind::Boolean) Fail(*n, "'" + std::string(key) + "' must be true or false, not " + n->kindName());
    return n->boolean;
}

std::string TableReader::string(const char* key, const std::string& def, size_t maxLen) {
    auto v = optString(key, maxLen);
    return v ? *v : def;
}

std::optional<std::string> TableReader::optString(const char* key, size_t maxLen) {
    const Node* n = get(key);
    if (!n) return std::nullopt;
    return AsString(*n, "'" + std::string(key) + "'", maxLen);
}

std::vector<const Node*> TableReader::tables(const char* key) {
    std::vector<const Node*> out;
    const Node* n = get(key);
    if (!n) return out;
    if (n->kind != Node::Kind::Array) Fail(*n, "'" + std::string(key) + "' must be an array of tables ([[" + key + "]])");
    for (const Node& item : n->items) {
        if (item.kind != Node::Kind::Table) Fail(item, "each entry of '" + std::string(key) + "' must be a table");
        out.push_back(&item);
    }
    return out;
}

const Node* TableReader::table(const char* key) {
    const Node* n = get(key);
    if (n && n->kind != Node::Kind::Table) Fail(*n, "'" + std::string(key) + "' must be a table, not " + n->kindName());
    return n;
}

void TableReader::finish() const {
    for (const Member& m : table_.keys)
        if (!known_.count(m.key)) FailAt(m.line, m.column, "unknown key '" + m.key + "' in " + what_);
}

} // namespace tarselsim
