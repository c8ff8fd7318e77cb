#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ostrel {

// Appends compact JSON to a string: no spaces, "/" escaped as "\/", invalid UTF-8 replaced by
// U+FFFD so that every line it writes can be read back. Commas are placed by the writer.
class JsonWriter {
  public:
    explicit JsonWriter(std::string& out) : out_(out) {}

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view name);

    void string(std::string_view text);
    void integer(int64_t number);
    void unsignedInteger(uint64_t number);
    void boolean(bool value);
    // Writes the shortest text that reads back as the same double. A NaN or infinity cannot be
    // written: nothing is appended and false is returned.
    [[nodiscard]] bool number(double value);
    // Like number, but a whole value keeps a fraction ("3.0"), so that a reader that tells
    // integers from doubles by their text gets a double back.
    [[nodiscard]] bool decimal(double value);

  private:
    void separate();

    std::string& out_;
    bool first_ = true;
    bool afterKey_ = false;
};

}  // namespace ostrel
