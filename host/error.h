// Failures of the host library: always a sentence for the user.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/types.h"

#pragma GCC visibility push(default)
namespace larkmoor {

/// What went wrong and what to do about it, as one sentence without a final line break.
class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A call of the module failed. The sentence names the effect and the reason; the code is for programs.
class StatusError : public Error {
  public:
    StatusError(const std::string& sentence, HRESULT code) : Error(sentence), m_code(code) {}
    HRESULT code() const { return m_code; }

  private:
    HRESULT m_code;
};

} // namespace larkmoor
#pragma GCC visibility pop
