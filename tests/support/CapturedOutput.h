#pragma once

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

/// What @p work writes to standard output.
template <typename Work>
std::string standardOutputOf(Work&& work)
{
    testing::internal::CaptureStdout();
    work();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

/// What @p work writes to standard error.
template <typename Work>
std::string standardErrorOf(Work&& work)
{
    testing::internal::CaptureStderr();
    work();
    std::fflush(stderr);
    return testing::internal::GetCapturedStderr();
}
