#ifndef SUPPORT_TRACE_READER_H_
#define SUPPORT_TRACE_READER_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace support {

/// A file in the Trace Event Format, read strictly: what is no such event fails the test.
class TraceReader {
  public:
    using Json = nlohmann::json;

    /// A traced call.
    struct Call {
        std::string name;
        std::int64_t thread;
        std::int64_t begin;  ///< nanoseconds
        std::int64_t end;    ///< nanoseconds
        Json args;
    };

    explicit TraceReader(const std::string& path) {
        std::ifstream file(path);
        const Json events = Json::parse(file, nullptr, false);
        if (!events.is_array()) {
            ADD_FAILURE() << path << " is no array of events";
            return;
        }
        for (const Json& event : events) read(event);
    }

    const std::vector<Call>& calls() const { return m_calls; }

    std::size_t count(const std::string& name) const {
        std::size_t count = 0;
        for (const Call& call : m_calls) count += call.name == name ? 1 : 0;
        return count;
    }

    /// Names of the threads that have calls; a thread without a name fails the test.
    std::set<std::string> threadNames() const {
        std::set<std::string> names;
        for (const Call& call : m_calls) {
            const auto name = m_threadNames.find(call.thread);
            if (name == m_threadNames.end()) {
                ADD_FAILURE() << "thread " << call.thread << " has no name";
            } else {
                names.insert(name->second);
            }
        }
        return names;
    }

    std::set<std::int64_t> threads() const {
        std::set<std::int64_t> threads;
        for (const Call& call : m_calls) threads.insert(call.thread);
        return threads;
    }

    /// Each two calls of a thread lie one after the other, or one inside the other.
    void expectProperNesting() const {
        std::map<std::int64_t, std::vector<const Call*>> byThread;
        for (const Call& call : m_calls) byThread[call.thread].push_back(&call);
        for (auto& [thread, calls] : byThread) {
            std::stable_sort(calls.begin(), calls.end(), [](const Call* one, const Call* other) {
                return one->begin != other->begin ? one->begin < other->begin
                                                  : one->end > other->end;
            });
            std::vector<const Call*> open;
            for (const Call* call : calls) {
                while (!open.empty() && open.back()->end <= call->begin) open.pop_back();
                if (!open.empty() && call->end > open.back()->end) {
                    ADD_FAILURE() << call->name << " overlaps " << open.back()->name
                                  << " on thread " << thread;
                    return;
                }
                open.push_back(call);
            }
        }
    }

  private:
    void read(const Json& event) {
        const std::string phase = event.at("ph");
        const std::int64_t thread = event.at("tid");
        EXPECT_TRUE(event.at("pid").is_number_integer());
        if (phase == "M") {
            if (event.at("name") == "thread_name") {
                m_threadNames[thread] = event.at("args").at("name").get<std::string>();
            }
            return;
        }
        EXPECT_EQ(phase, "X") << event;
        const std::int64_t begin = nanoseconds(event.at("ts"));
        m_calls.push_back({event.at("name"), thread, begin, begin + nanoseconds(event.at("dur")),
                           event.at("args")});
    }

    static std::int64_t nanoseconds(const Json& microseconds) {
        return std::llround(microseconds.get<long double>() * 1000);
    }

    std::vector<Call> m_calls;
    std::map<std::int64_t, std::string> m_threadNames;
};

}  // namespace support

#endif
