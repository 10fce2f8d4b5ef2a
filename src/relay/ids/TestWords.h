#pragma once

#include "relay/ids/CustomFormatTestData.h"
#include "relay/ids/CustomIds.h"

#include <sstream>
#include <string>

/// What differs between the families in the test words of the debug channel.
struct TestWordNames
{
    const char* setPrefix; ///< of the words that set a test value
    const char* runPrefix; ///< of the words that run a format
    const char* idName;    ///< the first id in the reply of a run
};
inline constexpr TestWordNames testWordNamesV4{"dhcpraTestSet", "dhcpraTestRun", "Circuit"};
inline constexpr TestWordNames testWordNamesV6{"dhcprav6TestSet", "dhcprav6TestRun", "Interface"};

/// Lists the test values.
void testDump(const customFormatTestData_t& data, bool testDebug, std::ostringstream& out);

/// Sets the test value that @p key names; an unknown key changes nothing.
void testSet(const TestWordNames& names, customFormatTestData_t& data, const std::string& key,
             const std::string& value, std::ostringstream& out);

/// Runs a test format: mode "test" with the test record, "available" as a management query, else not at all.
void testRun(const TestWordNames& names, const customFormatTestData_t& data, const CustomIds& ids,
             const std::string& key, const std::string& mode, std::ostringstream& out);
