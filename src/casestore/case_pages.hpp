// What the case store prints.
#pragma once
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "casestore/case_stream.hpp"
#include "frame/run.hpp"

namespace korvane {

/// The title of a case, without trailing blanks.
std::string title_of(const CaseHead& head);

/// A row of FMTROT on the page, with a new page first when it is full.
void print_line(Run& run, int row, std::initializer_list<Arg> values = {});
/// The same with the number and the title of a case, as much of it as the line takes.
void print_title(Run& run, int row, int n, std::string_view title);

/// LIFILE: the cases of the file and how full it is. Message 100.
void list_cases(Run& run, Records& r);

/// INFOFI of one case: its information line.
void print_information(Run& run, int n, std::string_view line);

/// The comment of the case, in the rows of RETCAS.
void print_comment(Run& run);

/// What a restored case is looked over for, and what is put right: buses of generation without a generator, rows that
/// point elsewhere, transformers out of their limits, controls that contradict each other. Warning -110 of RETCAS when
/// there was anything.
void review_case(Run& run);

}  // namespace korvane
