#ifndef CALL_TRACE_TRACE_FILE_H_
#define CALL_TRACE_TRACE_FILE_H_

#include <sys/types.h>

#include <string>
#include <string_view>

namespace call_trace {

/// A file with a JSON array that is whole after each change, so that nothing has to be done when the
/// process ends. The file is locked, and so taken, as long as this object lives.
///
/// The array's end is kept well behind the last element, with spaces in between, and an element does
/// not cross the border of two pages unless it is longer than one: a process that is killed while it
/// writes leaves what it has written as far as such a border. Once in many elements the end moves, from
/// one page to another, which no single write can do: a process that is killed right then leaves an array
/// without its end, as the format allows.
///
/// An element gets its place first and is written then, so that several threads can write at once. Until
/// it is written there are spaces.
class TraceFile {
  public:
    /// Opens the file and makes it an array with one element.
    ///
    /// @throws std::system_error  with the path in what(); std::errc::operation_would_block when
    ///                            another process has taken it.
    TraceFile(const std::string& path, std::string_view first);
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    /// A place for a further element. One thread at a time.
    ///
    /// @param size  of the element, in bytes.
    /// @throws std::system_error  with the path in what(); the array is as it was.
    off_t placeFor(std::size_t size);
    /// Any thread, while others write or ask for places.
    ///
    /// @param element  a JSON value, of the size that the place was made for.
    /// @throws std::system_error  as above.
    void write(off_t place, std::string element);

  private:
    void open();
    void lockAndEmpty();
    /// Moves the array's end so that `size` bytes fit in from `position`.
    void makeRoom(off_t position, off_t size);
    void put(off_t position, std::string_view text);
    [[noreturn]] void fail(int error) const;

    const std::string m_path;
    int m_file = -1;
    off_t m_end = 0;      ///< of the last element
    off_t m_closing = 0;  ///< where the array ends
};

}  // namespace call_trace

#endif
