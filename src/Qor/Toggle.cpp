#include "Qor/Toggle.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "Qor/SysLog.h"

namespace Qor {

namespace {

LogMessage const FENN_TOGGLE_FILE_MALFORMED(
    "FENN_TOGGLE_FILE_MALFORMED", LogSeverity::warning,
    "A feature toggle file is malformed; every toggle it sets keeps its default value",
    "The toggle file in the directory named by FENN_TOGGLE_DIR is not a JSON object of true/false "
    "members. The file's path and the position of the first error are written to standard error.",
    "Correct the file and restart the agent; toggles are read once per process.");

using Toggles = std::map<String, bool, std::less<>>;

class JsonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Strict JSON restricted to what a toggle file is: one object of Boolean members.
class ToggleFileParser {
 public:
  explicit ToggleFileParser(std::string_view text) : text_(text) {}

  Toggles parse() {
    Toggles toggles;
    skipBlanks();
    expect('{');
    skipBlanks();
    if (!consume('}')) {
      do {
        skipBlanks();
        String name = parseString();
        skipBlanks();
        expect(':');
        skipBlanks();
        bool const value = parseBool();
        if (!toggles.emplace(std::move(name), value).second) fail("a name not used before in the object");
        skipBlanks();
      } while (consume(','));
      expect('}');
    }
    skipBlanks();
    if (pos_ != text_.size()) fail("the end of the file");
    return toggles;
  }

 private:
  [[noreturn]] void fail(std::string_view expected) const {
    throw JsonError("expected " + String(expected) + " at byte " + std::to_string(pos_));
  }

  bool consume(char c) {
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }

  void expect(char c) {
    if (!consume(c)) fail(String("'") + c + "'");
  }

  void skipBlanks() {
    while (pos_ < text_.size() &&
           (text_[pos_] == ' ' || text_[pos_] == '\t' || text_[pos_] == '\n' || text_[pos_] == '\r')) {
      ++pos_;
    }
  }

  bool parseBool() {
    if (text_.substr(pos_).starts_with("true")) {
      pos_ += 4;
      return true;
    }
    if (text_.substr(pos_).starts_with("false")) {
      pos_ += 5;
      return false;
    }
    fail("true or false");
  }

  unsigned hexDigit() {
    if (pos_ < text_.size()) {
      char const c = text_[pos_++];
      if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
      if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
      if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
      --pos_;
    }
    fail("a hexadecimal digit");
  }

  unsigned parseHex4() {
    unsigned v = 0;
    for (int i = 0; i < 4; ++i) v = v * 16 + hexDigit();
    return v;
  }

  static void appendUtf8(String& out, unsigned cp) {
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (cp >> 18));
      out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }

  unsigned parseEscapedCodePoint() {
    unsigned cp = parseHex4();
    if (cp >= 0xDC00 && cp <= 0xDFFF) fail("a leading surrogate");
    if (cp >= 0xD800 && cp <= 0xDBFF) {
      if (!consume('\\') || !consume('u')) fail("a trailing surrogate");
      unsigned const low = parseHex4();
      if (low < 0xDC00 || low > 0xDFFF) fail("a trailing surrogate");
      cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
    }
    return cp;
  }

  String parseString() {
    expect('"');
    String out;
    while (true) {
      if (pos_ >= text_.size()) fail("'\"'");
      char const c = text_[pos_++];
      if (c == '"') return out;
      if (static_cast<unsigned char>(c) < 0x20) fail("no control character in a string");
      if (c != '\\') {
        out += c;
        continue;
      }
      if (pos_ >= text_.size()) fail("an escape");
      switch (char const e = text_[pos_++]) {
        case '"':
        case '\\':
        case '/':
          out += e;
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u':
          appendUtf8(out, parseEscapedCodePoint());
          break;
        default:
          --pos_;
          fail("an escape");
      }
    }
  }

  std::string_view text_;
  size_t pos_ = 0;
};

// Per file name: its toggles, or nothing when it could not be used.
std::map<String, std::optional<Toggles>, std::less<>>& cache() {
  static std::map<String, std::optional<Toggles>, std::less<>> c;
  return c;
}

std::optional<Toggles> load(String const& file) {
  char const* dir = std::getenv("FENN_TOGGLE_DIR");
  if (!dir) return std::nullopt;
  String const path = String(dir) + "/" + file;
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "toggles: cannot read %s; its toggles keep their defaults\n", path.c_str());
    return std::nullopt;
  }
  String const text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  try {
    return ToggleFileParser(text).parse();
  } catch (JsonError const& e) {
    std::fprintf(stderr, "toggles: %s is malformed (%s); its toggles keep their defaults\n", path.c_str(),
                 e.what());
    log(FENN_TOGGLE_FILE_MALFORMED);
    return std::nullopt;
  }
}

}  // namespace

bool getToggleState(String name, String file, bool defaultValue) {
  auto& c = cache();
  auto found = c.find(file);
  if (found == c.end()) found = c.emplace(file, load(file)).first;
  auto const& toggles = found->second;
  if (!toggles) return defaultValue;
  auto const value = toggles->find(name);
  return value == toggles->end() ? defaultValue : value->second;
}

void toggleCacheDelAll() { cache().clear(); }

}  // namespace Qor
