// What was measured, as Markdown tables and as a CSV file.
#pragma once

#include <string>
#include <vector>

#include "accuracy/methods.h"
#include "accuracy/sets.h"

namespace accuracy {

struct Row {
  Page page;
  SkewPage found = {};
  double milliseconds = 0;
  SkewPage again = {};  // after straightening, where found is trusted
  Answer leptonica, driver;
};

double median(std::vector<double> values);

// A line for each group and one for all pages with lines and a sure truth; the others in lines of their own.
void print_report(const std::vector<Row>& rows);

void write_csv(const std::vector<Row>& rows, const std::string& path);

}  // namespace accuracy
