#include "RequestParser.h"

#include <cstdlib>

namespace bridge {
namespace {

// Thrown inside the reader; never leaves readRequest.
struct Incomplete {};
struct Malformed {
    const char* why;
};

class Reader {
  public:
    explicit Reader(std::string_view input) : in_(input) {}

    std::size_t position() const { return pos_; }
    bool atEnd() const { return pos_ >= in_.size(); }

    char peek() const {
        if (atEnd()) {
            throw Incomplete{};
        }
        return in_[pos_];
    }
    char next() {
        char c = peek();
        ++pos_;
        return c;
    }
    void skipBlanks() {
        while (!atEnd() && (in_[pos_] == ' ' || in_[pos_] == '\t')) {
            ++pos_;
        }
    }
    void expect(char c, const char* why) {
        skipBlanks();
        if (next() != c) {
            throw Malformed{why};
        }
    }

    void readObject(std::map<std::string, JsonValue>& members) {
        expect('{', "the argument is not a JSON object");
        skipBlanks();
        if (peek() == '}') {
            ++pos_;
            return;
        }
        for (;;) {
            skipBlanks();
            if (peek() != '"') {
                throw Malformed{"a member name is not a string"};
            }
            std::string name = readString();
            expect(':', "a member name is not followed by ':'");
            skipBlanks();
            members[name] = readValue();
            skipBlanks();
            char c = next();
            if (c == '}') {
                return;
            }
            if (c != ',') {
                throw Malformed{"members are not separated by ','"};
            }
        }
    }

  private:
    JsonValue readValue() {
        JsonValue value;
        char c = peek();
        if (c == '"') {
            value.type = JsonValue::Type::String;
            value.text = readString();
        } else if (c == '{' || c == '[') {
            throw Malformed{"nested objects and arrays are not supported"};
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            value.type = JsonValue::Type::Number;
            value.number = readNumber();
        } else {
            value.type = readWord(value.boolean);
        }
        return value;
    }

    JsonValue::Type readWord(bool& boolean) {
        static constexpr std::string_view kWords[] = {"true", "false", "null"};
        for (std::string_view word : kWords) {
            if (in_.substr(pos_, word.size()) == word.substr(0, in_.size() - pos_)) {
                if (in_.size() - pos_ < word.size()) {
                    throw Incomplete{};
                }
                pos_ += word.size();
                boolean = word == "true";
                return word == "null" ? JsonValue::Type::Null : JsonValue::Type::Boolean;
            }
        }
        throw Malformed{"a value is not a string, number, boolean or null"};
    }

    // JSON's number grammar, checked before strtod so that it never sees "inf", hex or a
    // number that JSON does not allow.
    double readNumber() {
        std::size_t start = pos_;
        if (peek() == '-') {
            ++pos_;
        }
        if (peek() == '0') {
            ++pos_;
        } else {
            digits();
        }
        if (peek() == '.') {
            ++pos_;
            digits();
        }
        if (peek() == 'e' || peek() == 'E') {
            ++pos_;
            if (peek() == '+' || peek() == '-') {
                ++pos_;
            }
            digits();
        }
        std::string text(in_.substr(start, pos_ - start));
        return std::strtod(text.c_str(), nullptr);
    }

    void digits() {
        if (peek() < '0' || peek() > '9') {
            throw Malformed{"a number has no digits where it needs them"};
        }
        while (peek() >= '0' && peek() <= '9') {
            ++pos_;
        }
    }

    std::string readString() {
        ++pos_;  // the opening quote
        std::string text;
        for (;;) {
            char c = next();
            if (c == '"') {
                return text;
            }
            if (static_cast<unsigned char>(c) < 0x20) {
                throw Malformed{"a string holds a control character"};
            }
            if (c != '\\') {
                text += c;
                continue;
            }
            switch (next()) {
                case '"':
                    text += '"';
                    break;
                case '\\':
                    text += '\\';
                    break;
                case '/':
                    text += '/';
                    break;
                case 'b':
                    text += '\b';
                    break;
                case 'f':
                    text += '\f';
                    break;
                case 'n':
                    text += '\n';
                    break;
                case 'r':
                    text += '\r';
                    break;
                case 't':
                    text += '\t';
                    break;
                case 'u':
                    text += unicodeEscape();
                    break;
                default:
                    throw Malformed{"a string holds an unknown escape"};
            }
        }
    }

    // Requests are US-ASCII: an escape for anything beyond it stands as '?'.
    char unicodeEscape() {
        unsigned int code = 0;
        for (int i = 0; i < 4; ++i) {
            char c = next();
            int digit = c >= '0' && c <= '9'   ? c - '0'
                        : c >= 'a' && c <= 'f' ? c - 'a' + 10
                        : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                               : -1;
            if (digit < 0) {
                throw Malformed{"a \\u escape is not four hexadecimal digits"};
            }
            code = code * 16 + static_cast<unsigned int>(digit);
        }
        return code > 0 && code < 0x80 ? static_cast<char>(code) : '?';
    }

    std::string_view in_;
    std::size_t pos_ = 0;
};

bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

}  // namespace

std::size_t readRequest(std::string_view input, Request& request) {
    std::size_t start = input.find_first_not_of(" \t\r\n;");
    if (start == std::string_view::npos) {
        return 0;
    }
    request = Request{};
    Reader reader(input.substr(start));
    try {
        if (reader.next() != '?') {
            throw Malformed{"a request does not start with '?'"};
        }
        while (isNameCharacter(reader.peek())) {
            request.name += reader.next();
        }
        if (request.name.empty()) {
            throw Malformed{"a request has no command name"};
        }
        char after = reader.next();
        if (after == '=') {
            request.hasArgument = true;
            reader.readObject(request.members);
        } else if (after != ';' && after != '\n' && after != '\r') {
            throw Malformed{"a command name is followed by neither ';' nor '='"};
        }
        return start + reader.position();
    } catch (const Incomplete&) {
        return 0;
    } catch (const Malformed& malformed) {
        std::size_t end = input.find('\n', start);
        if (end == std::string_view::npos) {
            return 0;
        }
        request = Request{};
        request.error = malformed.why;
        return end + 1;
    }
}

}  // namespace bridge
