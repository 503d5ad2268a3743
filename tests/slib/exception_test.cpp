#include "slib/exception.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "slib/log.h"

namespace {

TEST(Exception, Text_EndsWithWhatTheSystemSaysUnlessThatIsNothing) {
    errno = ENOENT;
    EXPECT_STREQ(slib::OperatingSystemGetLastErrorException("No.").what(), "No. [Error 2]");
    errno = 0;
    EXPECT_STREQ(slib::OperatingSystemErrnoException("No.").what(), "No.");
}

TEST(StandardStreams, Logs_WriteALineToTheStreamOfItsKindOrErrorsOnly) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    slib::Log log;
    for (const bool isError : {false, true}) {
        log.Write("one", isError);
        slib::ErrorLog(&log).Write("two", isError);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\ntwo\n");
}

}  // namespace
