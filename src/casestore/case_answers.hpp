// Questions of the case store and the answers to them, from the input stream or from the operator.
#pragma once
#include <string>

#include "frame/run.hpp"

namespace korvane {

/// The next line that is no comment, logged; with the prompt of a row of FMTROT where somebody can answer. False at the
/// end of input. A blank line is an answer.
bool read_answer(Run& run, int prompt, std::string& line);

enum class Answer { yes, no, other, none };
/// "SIM" or "YES", "NAO" or "NO", in letters of any case; none: the input ended.
Answer ask_yes_or_no(Run& run, int prompt);

}  // namespace korvane
