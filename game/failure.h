// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <string>

namespace kelvane {

// Failure numbers follow the classic runtime numbering, so a report reads the way players of
// such desktop programs expect and the number alone tells the maintainers what went wrong.
enum FailureNumber : int {
    kInvalidProcedureCall = 5,
    kOverflow = 6,
    kOutOfMemory = 7,
    kSubscriptOutOfRange = 9,
    kDivisionByZero = 11,
    kTypeMismatch = 13,
    kInternalError = 51,
};

// An unexpected failure inside one step of a procedure: thrown, caught by the step runner and
// handed to the error reporter.
class Failure : public std::exception {
  public:
    Failure(int number, std::string description)
        : number_(number), description_(std::move(description)) {}
    explicit Failure(FailureNumber number) : Failure(number, StandardDescription(number)) {}

    int number() const noexcept { return number_; }
    const std::string& description() const noexcept { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

    static std::string StandardDescription(int number);

  private:
    int number_;
    std::string description_;
};

[[noreturn]] inline void Raise(FailureNumber number) {
    throw Failure(number);
}

}  // namespace kelvane
