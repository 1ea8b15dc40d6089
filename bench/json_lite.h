// A small JSON reader for the evidence cases and reference posteriors that
// come with the benchmark networks, and for the tool's own JSON output.
//
// A document becomes a tree of JsonValue: numbers as double, strings as
// std::string (\u escapes become UTF-8), arrays as vectors and objects as
// member lists in document order, so that repeated keys and key order
// survive. It reads whole documents held in memory, one call per document
// or per line of a JSON-lines file; nothing here is on a timed path.
#ifndef ORVIL_BENCH_JSON_LITE_H
#define ORVIL_BENCH_JSON_LITE_H

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace json_lite {

struct JsonValue {
    enum Kind { kNull, kBool, kNumber, kString, kArray, kObject };
    Kind kind = kNull;
    bool boolean = false;
    double number = 0.0;
    std::string text;
    std::vector<JsonValue> items;
    std::vector<std::pair<std::string, JsonValue>> members;

    // The first member named `key`, or null for a missing key or a value
    // that is no object.
    const JsonValue* Find(const std::string& key) const
    {
        for (const auto& member : members)
            if (member.first == key)
                return &member.second;
        return nullptr;
    }
};

class JsonParser {
public:
    explicit JsonParser(const std::string& source) : text(source), at(0) {}

    // Parses the whole text as one value; false (with `error` set) when it
    // is not exactly one well-formed value surrounded by blanks.
    bool Parse(JsonValue& out, std::string& error)
    {
        at = 0;
        failure.clear();
        bool ok = Value(out, 0);
        SkipBlanks();
        if (ok && at != text.size())
            ok = Fail("trailing characters");
        error = failure;
        return ok;
    }

private:
    // Deeper nesting is refused, so a hostile document cannot exhaust the
    // stack.
    static constexpr int kMaxDepth = 200;

    bool Fail(const char* what)
    {
        if (failure.empty())
            failure = std::string(what) + " at offset " + std::to_string(at);
        return false;
    }

    void SkipBlanks()
    {
        while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\n' || text[at] == '\r'))
            ++at;
    }

    bool Literal(const char* word)
    {
        std::string w(word);
        if (text.compare(at, w.size(), w) != 0)
            return Fail("unknown literal");
        at += w.size();
        return true;
    }

    bool Value(JsonValue& out, int depth)
    {
        if (depth > kMaxDepth)
            return Fail("nesting too deep");
        SkipBlanks();
        if (at >= text.size())
            return Fail("unexpected end");
        char c = text[at];
        if (c == '{')
            return Object(out, depth);
        if (c == '[')
            return Array(out, depth);
        if (c == '"') {
            out.kind = JsonValue::kString;
            return String(out.text);
        }
        if (c == 't' || c == 'f') {
            out.kind = JsonValue::kBool;
            out.boolean = c == 't';
            return Literal(out.boolean ? "true" : "false");
        }
        if (c == 'n') {
            out.kind = JsonValue::kNull;
            return Literal("null");
        }
        return Number(out);
    }

    bool Number(JsonValue& out)
    {
        const char* start = text.c_str() + at;
        char* end = nullptr;
        // strtod also takes "inf", "nan" and hex forms, which JSON lacks.
        if (!(*start == '-' || (*start >= '0' && *start <= '9')))
            return Fail("unexpected character");
        out.kind = JsonValue::kNumber;
        out.number = std::strtod(start, &end);
        if (end == start)
            return Fail("bad number");
        at += static_cast<size_t>(end - start);
        return true;
    }

    bool Hex4(unsigned& code)
    {
        if (at + 4 > text.size())
            return Fail("short \\u escape");
        code = 0;
        for (int i = 0; i < 4; ++i) {
            char h = text[at++];
            code <<= 4;
            if (h >= '0' && h <= '9')
                code |= static_cast<unsigned>(h - '0');
            else if (h >= 'a' && h <= 'f')
                code |= static_cast<unsigned>(h - 'a' + 10);
            else if (h >= 'A' && h <= 'F')
                code |= static_cast<unsigned>(h - 'A' + 10);
            else
                return Fail("bad \\u escape");
        }
        return true;
    }

    static void AppendUtf8(std::string& out, unsigned code)
    {
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }

    bool Escape(std::string& out)
    {
        if (at >= text.size())
            return Fail("unexpected end");
        char c = text[at++];
        static const char from[] = "\"\\/bfnrt";
        static const char to[] = "\"\\/\b\f\n\r\t";
        for (int i = 0; from[i] != 0; ++i) {
            if (c == from[i]) {
                out += to[i];
                return true;
            }
        }
        unsigned code = 0;
        if (c != 'u' || !Hex4(code))
            return Fail("bad escape");
        AppendUtf8(out, code);
        return true;
    }

    bool String(std::string& out)
    {
        ++at;
        out.clear();
        while (at < text.size()) {
            char c = text[at++];
            if (c == '"')
                return true;
            if (c == '\\') {
                if (!Escape(out))
                    return false;
            } else if (static_cast<unsigned char>(c) < 0x20) {
                return Fail("control character in string");
            } else {
                out += c;
            }
        }
        return Fail("unterminated string");
    }

    bool Array(JsonValue& out, int depth)
    {
        out.kind = JsonValue::kArray;
        ++at;
        SkipBlanks();
        if (at < text.size() && text[at] == ']') {
            ++at;
            return true;
        }
        for (;;) {
            out.items.emplace_back();
            if (!Value(out.items.back(), depth + 1))
                return false;
            SkipBlanks();
            if (at >= text.size())
                return Fail("unexpected end");
            char c = text[at++];
            if (c == ']')
                return true;
            if (c != ',')
                return Fail("expected ',' or ']'");
        }
    }

    bool Object(JsonValue& out, int depth)
    {
        out.kind = JsonValue::kObject;
        ++at;
        SkipBlanks();
        if (at < text.size() && text[at] == '}') {
            ++at;
            return true;
        }
        for (;;) {
            SkipBlanks();
            if (at >= text.size() || text[at] != '"')
                return Fail("expected a key");
            out.members.emplace_back();
            if (!String(out.members.back().first))
                return false;
            SkipBlanks();
            if (at >= text.size() || text[at] != ':')
                return Fail("expected ':'");
            ++at;
            if (!Value(out.members.back().second, depth + 1))
                return false;
            SkipBlanks();
            if (at >= text.size())
                return Fail("unexpected end");
            char c = text[at++];
            if (c == '}')
                return true;
            if (c != ',')
                return Fail("expected ',' or '}'");
        }
    }

    const std::string& text;
    size_t at;
    std::string failure;
};

// Parses `text` into `out`; false with `error` set for a malformed document.
inline bool ParseJson(const std::string& text, JsonValue& out, std::string& error)
{
    return JsonParser(text).Parse(out, error);
}

}  // namespace json_lite

#endif
