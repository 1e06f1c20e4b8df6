// A program that uses what the module exports.
#include "entry_points.h"

int main() {
  return GetAPITable() == nullptr ? 1 : 0;
}
