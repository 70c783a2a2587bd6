// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <new>
#include <string_view>

#include "report_error.h"

namespace kelvane {

// Thrown by an ErrorPrompt that cannot end the process (tests, tools) so the program's end
// unwinds through every handler without being reported as one more failure.
struct ProgramEnded {};

// Runs the steps of one named procedure. A step that fails is abandoned, the failure is reported
// under the procedure's name, and when the player chooses to go on the next step runs: the
// failed step's effect is lost, nothing is retried or undone.
class Steps {
  public:
    Steps(ErrorReporter& reporter, std::string_view procedure)
        : reporter_(reporter), procedure_(procedure) {}

    template <typename Step>
    void operator()(Step&& step) {
        try {
            step();
        } catch (const ProgramEnded&) {
            throw;
        } catch (const Failure& f) {
            reporter_.ReportError(procedure_, f);
        } catch (const std::bad_alloc&) {
            reporter_.ReportError(procedure_, Failure(kOutOfMemory));
        } catch (const std::exception& e) {
            reporter_.ReportError(procedure_, Failure(kInternalError, e.what()));
        } catch (...) {
            reporter_.ReportError(procedure_, Failure(kInternalError));
        }
    }

    std::string_view procedure() const { return procedure_; }

  private:
    ErrorReporter& reporter_;
    std::string_view procedure_;
};

}  // namespace kelvane
