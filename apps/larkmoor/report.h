// What a run tells people and programs on standard error.
#pragma once

#include <string>
#include <string_view>

#include "film.h"

namespace larkmoor {

/// Notes and errors as sentences, and on a terminal a line that tells how far the work is, rewritten a few times a
/// second. What cannot be written is dropped.
class Report {
  public:
    enum class Form {
        Plain,
        Quiet, ///< errors only
        Json,  ///< one object a line
    };

    Report() = default;
    ~Report();
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    /// From here on; notes are taken, too.
    void setForm(Form form);
    void error(std::string_view sentence) const;
    /// How much memory the work took at most is the last that is told.
    void setMemoryTold(bool told) { m_memory = told; }
    /// Tells of the work on one file.
    Watch watch(const std::string& file) const;

  private:
    Form m_form = Form::Plain;
    bool m_memory = false;
};

} // namespace larkmoor
