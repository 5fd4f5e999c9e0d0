#pragma once
// Binary and text output to a std::ostream, each the inverse of an operation of UT_IStream. Failures show in the
// stream's state.
#include <UT/UT_Export.h>

#include <iosfwd>

class UT_IStream;
class UT_StreamBufferFilter;
class UT_String;

// The mode of a binary string: a 32-bit little-endian length and the bytes. The only one.
enum UT_STRING_BINARY_IO { UT_STRING_BINARY32 = 32 };
// As a count of UTcopyStreamToStream: to the end of the input.
inline constexpr unsigned UT_COPY_ALL = 0xFFFFFFFFu;

// Writes `count` bytes.
TARVANI_EXPORT std::ostream& UTwrite(std::ostream& out, const char* data, int count);
// Writes `count` integers, 32 bits each, little-endian.
TARVANI_EXPORT std::ostream& UTwrite(std::ostream& out, const int* values, int count);
// Writes a text in binary form; null counts as empty.
TARVANI_EXPORT void UTsaveStringBinary(std::ostream& out, const char* text, UT_STRING_BINARY_IO mode);
// Writes `count` bytes through `filter`, borrowed; null writes them as they are. False when the filter or the stream
// failed; the stream then has failbit or badbit set.
TARVANI_EXPORT bool UTwriteFiltered(std::ostream& out, const char* data, int count, UT_StreamBufferFilter* filter);
// Copies up to `count` bytes from where `in` stands, through `filter` if it isn't null; UT_COPY_ALL copies to the end.
// True when all of that was there and went out. False when the input ended before `count` bytes, reading failed, the
// input is over nothing, or the filter or the output failed.
TARVANI_EXPORT bool UTcopyStreamToStream(UT_IStream& in, std::ostream& out, unsigned count,
                                         UT_StreamBufferFilter* filter);
// Looks at the stream's state. On a bad stream it writes `message`, and `second` behind it unless null, to the standard
// error stream and gives 0; otherwise it gives 1.
TARVANI_EXPORT int UTcheckOutStream(std::ostream& out, const char* message, const char* second);
// Writes a text so that one UT_IStream::readString in text mode reads it back: a plain word as it is, everything else
// in double quotes with \" \\ \n \r \t. Null and empty are "".
TARVANI_EXPORT std::ostream& operator<<(std::ostream& out, const UT_String& text);
