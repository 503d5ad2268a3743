#include "slib/exception.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "slib/log.h"

namespace {

constexpr const char* refusal = "A thread could not be created.";

TEST(OperatingSystemGetLastErrorException, Text_EndsWithTheCodeUnlessItIsZero) {
    errno = 8;
    EXPECT_STREQ(slib::OperatingSystemGetLastErrorException(refusal).what(),
                 "A thread could not be created. [Error 8]");
    errno = 0;
    EXPECT_STREQ(slib::OperatingSystemGetLastErrorException(refusal).what(), refusal);
}

TEST(OperatingSystemErrnoException, Text_EndsWithTheDescriptionUnlessTheCodeIsZero) {
    errno = ENOENT;
    EXPECT_STREQ(slib::OperatingSystemErrnoException("Failed to open.").what(),
                 "Failed to open. [No such file or directory]");
    errno = 0;
    EXPECT_STREQ(slib::OperatingSystemErrnoException("Failed to open.").what(), "Failed to open.");
}

TEST(ThrowUnreachable, Text_NamesLineAndFile) {
    try {
        slib::ThrowUnreachable("goal/source", 4321);
        FAIL();
    } catch (const slib::IntegrityFailureException& failure) {
        EXPECT_STREQ(failure.what(),
                     "There was an assertion failure on line 4321 of file 'goal/source'. The assertion was: "
                     "Line should never be reached.");
    }
}

TEST(OutOfMemoryException, Text_IsItsOwn) {
    try {
        throw slib::OutOfMemoryException();
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "Out of memory.");
    }
}

TEST(StringException, Copy_HoldsTheTextAfterTheOriginalIsGone) {
    auto original = std::make_unique<slib::BadXMLException>(std::string(300, 'x'));
    const slib::BadDataException copy = *original;
    original.reset();
    EXPECT_EQ(copy.what(), std::string(300, 'x'));
}

template <typename Base, typename... Derived>
constexpr bool basesOf = (std::is_base_of_v<Base, Derived> && ...);

// What a catch clause for the class on the left relies on.
static_assert(
    basesOf<slib::Exception, slib::OutOfMemoryException, slib::ParseException, slib::StringException>);
static_assert(basesOf<slib::StringException, slib::IntegrityFailureException, slib::BadDataException,
                      slib::BadStateException, slib::BadParameterException, slib::MathematicalException,
                      slib::OperatingSystemBaseException>);
static_assert(basesOf<slib::BadDataException, slib::BadXMLException>);
static_assert(basesOf<slib::OperatingSystemBaseException, slib::OperatingSystemErrnoException,
                      slib::OperatingSystemGetLastErrorException>);

class StandardStreams : public testing::TestWithParam<bool> {};

TEST_P(StandardStreams, Log_WritesALineToTheStreamOfItsKind) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    slib::Log log;
    log.Write("one", GetParam());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam() ? "" : "one\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam() ? "one\n" : "");
}

TEST_P(StandardStreams, ErrorLog_PassesOnErrorsOnly) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    slib::Log target;
    slib::ErrorLog(&target).Write("one", GetParam());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam() ? "one\n" : "");
}

INSTANTIATE_TEST_SUITE_P(Kinds, StandardStreams, testing::Bool());

}  // namespace
