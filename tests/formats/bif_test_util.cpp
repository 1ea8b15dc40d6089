// A minimal JSON reader (objects, arrays, strings, numbers, literals) is
// enough for the reference files, which are plain machine-written JSON.
#include "bif_test_util.h"

#include "formats/bif_parser.h"
#include "formats/bif_resolve.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

namespace bif_test {
namespace {

struct Json {
    enum Kind { Null, Number, String, Array, Object } kind = Null;
    double number = 0.0;
    std::string text;
    std::vector<Json> items;
    std::vector<std::pair<std::string, Json>> members;

    const Json& operator[](const std::string& key) const
    {
        static const Json none;
        for (const auto& member : members)
            if (member.first == key)
                return member.second;
        return none;
    }
};

class JsonReader {
public:
    explicit JsonReader(const std::string& text) : text(text) {}

    bool Read(Json& out)
    {
        bool ok = Value(out);
        Skip();
        return ok && pos == text.size();
    }

private:
    void Skip()
    {
        while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\n' || text[pos] == '\r' || text[pos] == '\t'))
            ++pos;
    }

    bool Take(char c)
    {
        Skip();
        if (pos < text.size() && text[pos] == c) {
            ++pos;
            return true;
        }
        return false;
    }

    bool Value(Json& out)
    {
        Skip();
        if (pos >= text.size())
            return false;
        char c = text[pos];
        if (c == '{')
            return ObjectValue(out);
        if (c == '[')
            return ArrayValue(out);
        if (c == '"') {
            out.kind = Json::String;
            return StringValue(out.text);
        }
        return Scalar(out);
    }

    bool ObjectValue(Json& out)
    {
        out.kind = Json::Object;
        ++pos;
        if (Take('}'))
            return true;
        do {
            std::pair<std::string, Json> member;
            Skip();
            if (!StringValue(member.first) || !Take(':') || !Value(member.second))
                return false;
            out.members.push_back(std::move(member));
        } while (Take(','));
        return Take('}');
    }

    bool ArrayValue(Json& out)
    {
        out.kind = Json::Array;
        ++pos;
        if (Take(']'))
            return true;
        do {
            out.items.emplace_back();
            if (!Value(out.items.back()))
                return false;
        } while (Take(','));
        return Take(']');
    }

    bool StringValue(std::string& out)
    {
        if (pos >= text.size() || text[pos] != '"')
            return false;
        for (++pos; pos < text.size() && text[pos] != '"'; ++pos) {
            if (text[pos] == '\\' && ++pos < text.size() && text[pos] == 'u') {
                out += '?';
                pos += 4;
                continue;
            }
            out += text[pos];
        }
        return pos++ < text.size();
    }

    bool Scalar(Json& out)
    {
        for (const char* literal : {"null", "true", "false"})
            if (text.compare(pos, std::string(literal).size(), literal) == 0) {
                pos += std::string(literal).size();
                return true;
            }
        const char* start = text.c_str() + pos;
        char* stop = nullptr;
        out.kind = Json::Number;
        out.number = std::strtod(start, &stop);
        pos += static_cast<size_t>(stop - start);
        return stop != start;
    }

    const std::string& text;
    size_t pos = 0;
};

Json ParseJson(const std::string& text)
{
    Json value;
    if (!JsonReader(text).Read(value))
        return Json();
    return value;
}

}  // namespace

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

std::string ReadDataFile(const std::string& name)
{
    return ReadFile(std::string(ORVIL_TEST_DATA_DIR) + "/" + name);
}

int ReadModel(const std::string& text, BifModel& model, BifError& error)
{
    BifDocument doc;
    int rc = BifParse(text.data(), text.size(), doc, error);
    return rc == 0 ? BifResolve(doc, model, error) : rc;
}

std::vector<ReferenceCase> LoadReferenceCases(const std::string& network)
{
    std::map<std::string, ReferenceCase> byId;
    Json cases = ParseJson(ReadDataFile(network + ".cases.json"));
    for (const Json& item : cases["cases"].items) {
        ReferenceCase& entry = byId[item["id"].text];
        entry.id = item["id"].text;
        for (const auto& member : item["evidence"].members)
            entry.evidence[member.first] = member.second.text;
    }
    std::vector<ReferenceCase> result;
    std::istringstream lines(ReadDataFile(network + ".ref.jsonl"));
    std::string line;
    while (std::getline(lines, line)) {
        Json reference = ParseJson(line);
        auto found = byId.find(reference["id"].text);
        if (found == byId.end())
            continue;
        for (const auto& member : reference["posteriors"].members)
            for (const Json& p : member.second.items)
                found->second.posteriors[member.first].push_back(p.number);
        found->second.logProbEvidence = reference["log_pe"].number;
        result.push_back(found->second);
    }
    return result;
}

orvil_test::BruteModel BruteModelOf(const BifModel& model, const std::map<std::string, std::string>& evidence)
{
    orvil_test::BruteModel brute;
    for (const BifNode& node : model.nodes) {
        orvil_test::BruteVariable variable;
        variable.states = static_cast<int>(node.states.size());
        variable.parents = node.parents;
        variable.table = node.table;
        auto observed = evidence.find(node.name);
        for (size_t s = 0; observed != evidence.end() && s < node.states.size(); ++s)
            if (node.states[s] == observed->second)
                variable.evidence = static_cast<int>(s);
        brute.vars.push_back(std::move(variable));
    }
    return brute;
}

}  // namespace bif_test

namespace bif_test {

// Each text is a small valid network with one fault; the fault's line is
// what the message must name.
std::vector<DamagedText> DamagedTexts()
{
    const std::string head =
        "network n {\n"                                   // 1
        "}\n"                                             // 2
        "variable a {\n"                                  // 3
        "  type discrete [ 2 ] { yes, no };\n"            // 4
        "}\n"                                             // 5
        "variable b {\n"                                  // 6
        "  type discrete [ 3 ] { <5, 5-12, 12+ };\n"      // 7
        "}\n"                                             // 8
        "probability ( a ) {\n"                           // 9
        "  table 0.25, 0.75;\n"                           // 10
        "}\n";                                            // 11
    const std::string b = "probability ( b | a ) {\n"     // 12
                          "  (yes) 0.2, 0.3, 0.5;\n"      // 13
                          "  (no) 0.1, 0.1, 0.8;\n"       // 14
                          "}\n";                          // 15
    const std::string full = head + b;
    return {
        {"empty file", "", -128, 1},
        {"only a comment", "// nothing here\n", -128, 2},
        {"truncated inside a row", full.substr(0, full.find("0.1, 0.8")), -128, 14},
        {"truncated after a block", head, -129, 6},
        {"control character", head + "probability ( b | a ) {\n  (yes) 0.2,\x01 0.3, 0.5;\n", -126, 13},
        {"unclosed comment", head + "/* left open\n" + b, -128, 12},
        {"unclosed quote", head + "probability ( \"b | a ) {\n", -128, 12},
        {"bad number", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3x, 0.5;\n  (no) 0.1, 0.1, 0.8;\n}\n", -127, 13},
        {"probability above one", head + "probability ( b | a ) {\n  (yes) 0.2, 1.3, 0.5;\n  (no) 0.1, 0.1, 0.8;\n}\n", -129, 13},
        {"missing semicolon", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5\n  (no) 0.1, 0.1, 0.8;\n}\n", -127, 14},
        {"unknown keyword", head + "probabilty ( b | a ) {\n", -127, 12},
        {"continuous variable", "variable c {\n  type continuous;\n}\n", -129, 2},
        {"unknown variable", head + "probability ( c | a ) {\n  (yes) 0.2, 0.8;\n}\n", -129, 12},
        {"unknown parent", head + "probability ( b | c ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"unknown state", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (maybe) 0.1, 0.1, 0.8;\n}\n", -129, 14},
        {"too few values", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (no) 0.1, 0.9;\n}\n", -129, 14},
        {"too many table values", head + "probability ( b | a ) {\n  table 0.2, 0.3, 0.5, 0.1, 0.1, 0.8, 0.0;\n}\n", -129, 13},
        {"missing configuration", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"repeated configuration", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (yes) 0.1, 0.1, 0.8;\n}\n", -129, 14},
        {"duplicate variable", head + "variable a {\n  type discrete [ 2 ] { x, y };\n}\n" + b, -32, 12},
        {"duplicate state", "variable a {\n  type discrete [ 2 ] { x, x };\n}\n", -32, 2},
        {"state count mismatch", "variable a {\n  type discrete [ 3 ] { x, y };\n}\n", -129, 2},
        {"single state", "variable a {\n  type discrete [ 1 ] { x };\n}\n", -19, 2},
        {"no type", "variable a {\n}\n", -129, 1},
        {"missing probability block", head + "variable c {\n  type discrete [ 2 ] { x, y };\n}\n" + b, -129, 12},
        {"second probability block", full + "probability ( a ) {\n  table 0.5, 0.5;\n}\n", -129, 16},
        {"own parent", head + "probability ( b | b ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"parent twice", head + "probability ( b | a, a ) {\n  (yes, yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"cycle", "variable a {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "variable b {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "variable c {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "probability ( a | c ) {\n  default 0.5, 0.5;\n}\n"
                  "probability ( b | a ) {\n  default 0.5, 0.5;\n}\n"
                  "probability ( c | b ) {\n  default 0.5, 0.5;\n}\n", -11, 10},
    };
}

}  // namespace bif_test
