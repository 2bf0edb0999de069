#ifndef BROWSER_SERVER_FILE_BODY_H_
#define BROWSER_SERVER_FILE_BODY_H_

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/file_posix.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/optional.hpp>
#include <cstdint>
#include <utility>

namespace browser {

/// A body of an HTTP message, to the library that sends it: a part of a file, read while it is sent.
struct FileBody {
    struct value_type {
        boost::beast::file_posix file;  ///< stands where the part begins
        std::uint64_t length = 0;
    };

    static std::uint64_t size(const value_type& body) { return body.length; }

    class writer {
      public:
        using const_buffers_type = boost::asio::const_buffer;

        template <typename Header>
        writer(Header&, value_type& body) : m_body(body), m_left(body.length) {}

        static void init(boost::system::error_code& error) { error = {}; }

        boost::optional<std::pair<const_buffers_type, bool>> get(boost::system::error_code& error) {
            const std::uint64_t wanted = m_left < m_buffer.size() ? m_left : m_buffer.size();
            error = {};
            if (wanted == 0) return boost::none;
            const std::size_t got =
                m_body.file.read(m_buffer.data(), static_cast<std::size_t>(wanted), error);
            if (error) return boost::none;
            if (got == 0) {  // the file has become shorter
                error = make_error_code(boost::beast::http::error::short_read);
                return boost::none;
            }
            m_left -= got;
            return {{const_buffers_type(m_buffer.data(), got), m_left > 0}};
        }

      private:
        value_type& m_body;
        std::uint64_t m_left;
        std::array<char, 65536> m_buffer;
    };
};

}  // namespace browser

#endif
