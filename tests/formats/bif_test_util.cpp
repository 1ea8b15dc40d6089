// Test data and damaged texts for the BIF tests. A minimal JSON reader is
// enough for the reference files, which are plain machine-written JSON.
#include "bif_test_util.h"

#include "formats/bif_parser.h"
#include "formats/bif_resolve.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

namespace bif_test {
namespace {

// Objects keep their members in order; strings only need the escapes of
// plain ASCII text.
struct Json {
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
    explicit JsonReader(const std::string& text) : at(text.c_str()) {}

    Json Value()
    {
        Json value;
        Skip();
        if (Take('{')) {
            while (!Take('}')) {
                Skip();
                std::string key = String();
                Take(':');
                value.members.emplace_back(key, Value());
                Take(',');
            }
        } else if (Take('[')) {
            while (!Take(']')) {
                value.items.push_back(Value());
                Take(',');
            }
        } else if (*at == '"') {
            value.text = String();
        } else {
            char* stop = nullptr;
            value.number = std::strtod(at, &stop);
            if (stop != at)
                at = stop;
            else if (*at != '\0')
                at += std::max<size_t>(1, std::strspn(at, "nultrefas"));  // null, true, false
        }
        return value;
    }

private:
    void Skip() { at += std::strspn(at, " \t\r\n"); }

    bool Take(char c)
    {
        Skip();
        if (*at != c)
            return *at == '\0';  // the end closes everything, so bad input cannot loop
        ++at;
        return true;
    }

    std::string String()
    {
        std::string text;
        for (++at; *at && *at != '"'; ++at)
            text += (*at == '\\' && at[1]) ? *++at : *at;
        at += (*at == '"');
        return text;
    }

    const char* at;
};

Json ParseJson(const std::string& text)
{
    return JsonReader(text).Value();
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
        {"unknown state", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (maybe) 0.1, 0.1, 0.8;\n}\n", -129, 14,
         "'maybe' is no state of 'a'"},
        {"too few values", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (no) 0.1, 0.9;\n}\n", -129, 14},
        {"too many table values", head + "probability ( b | a ) {\n  table 0.2, 0.3, 0.5, 0.1, 0.1, 0.8, 0.0;\n}\n", -129, 13},
        {"missing configuration", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12,
         "1 of 2 parent configurations, the first being (no)"},
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
                  "probability ( c | b ) {\n  default 0.5, 0.5;\n}\n", -11, 10, "'a' -> 'b' -> 'c' -> 'a'"},
    };
}

}  // namespace bif_test
