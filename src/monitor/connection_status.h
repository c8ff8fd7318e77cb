#pragma once

#include <string>

namespace ostrel {

// The outcome of the last endpoint test, as the settings window shows it. Two values are equal
// when their cases are, and for `failed` their texts too.
class ConnectionStatus {
  public:
    enum class Case { failed, unknown, testing, connected };

    static ConnectionStatus failed(std::string text) { return {Case::failed, std::move(text)}; }
    static ConnectionStatus unknown() { return {Case::unknown, {}}; }
    static ConnectionStatus testing() { return {Case::testing, {}}; }
    static ConnectionStatus connected() { return {Case::connected, {}}; }

    ConnectionStatus() = default;

    Case state() const { return state_; }
    // The text for the user of a failed test; empty otherwise.
    const std::string& failureText() const { return text_; }

    bool operator==(const ConnectionStatus&) const = default;

  private:
    ConnectionStatus(Case state, std::string text) : state_(state), text_(std::move(text)) {}

    Case state_ = Case::unknown;
    std::string text_;
};

}  // namespace ostrel
