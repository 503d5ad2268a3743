#pragma once

// Reads stored transforms, in every form of transformform.h. For the format library, at start-up and when the
// user changes settings; no state, usable from any thread on distinct streams.
//
// Files are not trusted. What a header claims is compared with what the stream holds before memory is
// allocated, and rings are made only as their data arrives.

#include <istream>
#include <string>

#include "orb3core/transform/transformform.h"

namespace orb3::strans {

/// Replaces `transform` by the one at the stream's position, in the precision asked for, whatever the stored
/// one. After a binary form the stream is at the next byte; a text form goes to the end of the stream. The
/// stream has to be one that can seek.
///
/// Throws slib::OperatingSystemErrnoException for a stream that fails, ends too early or holds no transform,
/// and slib::BadDataException for a transform that is wrong: a bad header, a sample that isn't finite in the
/// precision asked for, or rings out of all proportion to what is stored, that is of more than 2^22 samples
/// together and 4096 more for each byte before the current impulse. The transform then stays as it was.
void readTransform(std::istream& stream, TimeDomainTransform<float, 1>& transform);
void readTransform(std::istream& stream, TimeDomainTransform<double, 1>& transform);

/// The same, from the start of a file.
void readTransform(const std::string& path, TimeDomainTransform<float, 1>& transform);
void readTransform(const std::string& path, TimeDomainTransform<double, 1>& transform);

}  // namespace orb3::strans
