// The one unit that uses the TOML parser: turns a document into the plain
// position-carrying tree of node.h.
#include <toml++/toml.h>

#include "scenario/node.h"

namespace tarselsim {

namespace {

void SetPosition(Node& out, const toml::source_region& src) {
    out.line = static_cast<int>(src.begin.line);
    out.column = static_cast<int>(src.begin.column);
}

Node Convert(const toml::node& in) {
    Node out;
    SetPosition(out, in.source());
    switch (in.type()) {
    case toml::node_type::table: {
        out.kind = Node::Kind::Table;
        for (auto&& [k, v] : *in.as_table()) {
            Member m;
            m.key = std::string(k.str());
            m.line = static_cast<int>(k.source().begin.line);
            m.column = static_cast<int>(k.source().begin.column);
            out.keys.push_back(std::move(m));
            out.values.push_back(Convert(v));
        }
        break;
    }
    case toml::node_type::array:
        out.kind = Node::Kind::Array;
        for (auto&& v : *in.as_array()) out.items.push_back(Convert(v));
        break;
    case toml::node_type::string:
        out.kind = Node::Kind::String;
        out.str = in.as_string()->get();
        break;
    case toml::node_type::integer:
        out.kind = Node::Kind::Integer;
        out.integer = in.as_integer()->get();
        break;
    case toml::node_type::floating_point:
        out.kind = Node::Kind::Float;
        out.real = in.as_floating_point()->get();
        break;
    case toml::node_type::boolean:
        out.kind = Node::Kind::Boolean;
        out.boolean = in.as_boolean()->get();
        break;
    default:
        out.kind = Node::Kind::Other;
        break;
    }
    return out;
}

} // namespace

Node ParseToml(const std::string& text) {
    try {
        toml::table doc = toml::parse(text);
        Node root = Convert(doc);
        root.line = 1;
        root.column = 1;
        return root;
    } catch (const toml::parse_error& e) {
        ScenarioError err;
        err.line = static_cast<int>(e.source().begin.line);
        err.column = static_cast<int>(e.source().begin.column);
        err.message = std::string(e.description());
        throw err;
    }
}

} // namespace tarselsim
