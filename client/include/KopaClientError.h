#ifndef KOPA_CLIENT_ERROR_H
#define KOPA_CLIENT_ERROR_H

/// @file KopaClientError.h
/// Results of kopa::Client: a record or a kopa::Error with its code's name, a one-line
/// message and the cause behind it.

#include <string>
#include <utility>
#include <variant>

#include "KopaFailureCause.h"
#include "KopaPositioning.h"

/// Marks what libkopaclient exports; everything else is hidden.
#define KOPA_CLIENT_API __attribute__((visibility("default")))

namespace kopa {

/// The symbolic name of a result code: "KOPA_OK", "KOPA_ERROR_NOT_POSITIONED", and for the
/// positive codes a record's internalize returns, "KOPA_TEXT_BAD_NUMBER" and so on. A code
/// that is none of these gives "KOPA_UNKNOWN_RESULT". Never null.
KOPA_CLIENT_API const char* codeName(int code) noexcept;

/// A one-line English description of a result code ("no position could be found"). Never
/// null; an unknown code gives "unknown result code".
KOPA_CLIENT_API const char* codeMessage(int code) noexcept;

/// A failure: a result code of libkopapositioning and the cause the library recorded for it.
class KOPA_CLIENT_API Error {
  public:
    /// A failure with result code `code` and the cause behind it.
    Error(int code, KopaFailureCause cause) : code_(code), cause_(std::move(cause)) {}

    /// The result code, negative (or, for an answer the record could not read, positive).
    int code() const noexcept { return code_; }
    /// codeName(code()).
    const char* name() const noexcept { return codeName(code_); }
    /// codeMessage(code()).
    const char* message() const noexcept { return codeMessage(code_); }
    /// Where the failure came from: the D-Bus error, or the library's or this layer's reason.
    const KopaFailureCause& cause() const noexcept { return cause_; }

    /// One line for a log or a user: name, code, message and cause (line breaks and other
    /// control characters of the cause each become a space), e.g.
    /// "KOPA_ERROR_NOT_POSITIONED (-2105): no position could be found
    /// [com.ruvex.location.kopad.Error: (46) not positioned]".
    std::string describe() const;

  private:
    int code_;
    KopaFailureCause cause_;
};

/// The outcome of one request: the record, or an Error.
template <typename T>
class Result {
  public:
    /// A success carrying `value` (implicit, so that a record can be returned as a Result).
    Result(T value) : outcome_(std::move(value)) {}  // NOLINT: implicit on purpose
    /// A failure (implicit, so that an Error can be returned as a Result).
    Result(Error error) : outcome_(std::move(error)) {}  // NOLINT: implicit on purpose

    /// True when the request succeeded and value() holds the record.
    bool ok() const noexcept { return outcome_.index() == 0; }
    /// ok().
    explicit operator bool() const noexcept { return ok(); }

    /// The record; throws std::bad_variant_access when the request failed.
    const T& value() const { return std::get<T>(outcome_); }
    /// The record, to move it out; throws std::bad_variant_access when the request failed.
    T& value() { return std::get<T>(outcome_); }
    /// The failure; throws std::bad_variant_access when the request succeeded.
    const Error& error() const { return std::get<Error>(outcome_); }

  private:
    std::variant<T, Error> outcome_;
};

}  // namespace kopa

#endif
