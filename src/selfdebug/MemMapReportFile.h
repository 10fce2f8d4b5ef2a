#pragma once

#include <string>

/// Name of the file for the memory map of a report on request; empty for none. Not locked: set before the
/// reporter is forked, which keeps its copy.
std::string& memMapReportFile();
