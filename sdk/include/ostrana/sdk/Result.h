#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// The outcome of a host-facing operation: a success carrying a value, or an error carrying
// a message. Successes convert implicitly from the value; errors are made with failure().
template <typename T>
class Result {
  public:
    Result(T value) : value_(std::move(value)) {}

    static Result failure(std::string message) { return Result(Error{std::move(message)}); }

    bool isOk() const { return value_.has_value(); }
    explicit operator bool() const { return isOk(); }

    // The carried value. Asking an error for its value throws std::logic_error.
    const T& value() const& { return checked(), *value_; }
    T& value() & { return checked(), *value_; }
    T&& value() && { return checked(), std::move(*value_); }

    // The error message; empty for a success.
    const std::string& errorMessage() const { return error_; }

  private:
    struct Error {
        std::string message;
    };
    explicit Result(Error error) : error_(std::move(error.message)) {}

    void checked() const {
        if (!value_) throw std::logic_error("Result holds an error: " + error_);
    }

    std::optional<T> value_;
    std::string error_;
};

// The outcome of an operation that produces nothing: a success by default, or an error.
template <>
class Result<void> {
  public:
    Result() = default;

    static Result failure(std::string message) {
        Result result;
        result.ok_ = false;
        result.error_ = std::move(message);
        return result;
    }

    bool isOk() const { return ok_; }
    explicit operator bool() const { return ok_; }
    const std::string& errorMessage() const { return error_; }

  private:
    bool ok_ = true;
    std::string error_;
};

}  // namespace ostrana
