// What a piece of code prints on standard output.
#pragma once

#include <gtest/gtest.h>

#include <string>

template<typename Code>
std::string printed_by(Code code)
{
    testing::internal::CaptureStdout();
    code();
    return testing::internal::GetCapturedStdout();
}
