#ifndef CONTRACT_CONTRACT_SUITE_H_
#define CONTRACT_CONTRACT_SUITE_H_

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>

#include "contract.h"
#include "page.h"

namespace contract {

/// One visit on one host.
using VisitOnAHost = std::pair<OpenPage, Visit>;

/// For the lists of tests, instead of its bytes.
inline void PrintTo(const VisitOnAHost& visit, std::ostream* out) {
    *out << visit.second.rows.size() << " rows";
}

/// The contract that every host keeps. A program that links SSO::contract_suite runs it on its hosts:
///
///   INSTANTIATE_TEST_SUITE_P(MyHost, TheContract, onHost(&openPage), nameOfVisit);
class TheContract : public ::testing::TestWithParam<VisitOnAHost> {};

inline auto onHost(OpenPage openPage) {
    std::vector<VisitOnAHost> visits;
    for (Visit& visit : contractOrNothing()) visits.emplace_back(openPage, std::move(visit));
    return ::testing::ValuesIn(visits);
}

inline std::string nameOfVisit(const ::testing::TestParamInfo<VisitOnAHost>& info) {
    return nameOf(info.param.second.setting);
}

}  // namespace contract

#endif
