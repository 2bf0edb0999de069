// An account file of a description has all of it.

#include <gtest/gtest.h>

#include <string>

#include "account/account_file.h"
#include "account_files.h"

namespace {

using account::Description;
using account::Operation;
using account::PopupState;
using std::chrono::milliseconds;

TEST(AWrittenAccountFile, IsReadAsWhatItIsOf) {
    for (const std::string& text : kGoodFiles) {
        SCOPED_TRACE(text);
        const Description read = account::parseAccountFile(text, "file");
        const std::string written = account::toJson(read);
        EXPECT_EQ(account::toJson(account::parseAccountFile(written, "file")), written);
    }
}

TEST(AWrittenAccountFile, HasAllOfADescription) {
    Description description;
    account::Profile& robin = description.profiles.emplace_back();
    robin.identity = {"robin", "uid-1", "guid-1", "auth-1"};
    robin.displayName = "Robin";
    robin.password = "password";
    robin.mappings.add({"app", "partner", "user"});
    robin.agreements["terms"] = "1";
    robin.tokens["client"] = {"token-2", 5000, 2};
    account::Profile& kim = description.profiles.emplace_back();
    kim.identity = {"kim", "uid-2", "guid-2", "auth-2"};
    kim.mappings.add({"a", "p", "u"});
    kim.agreements["terms"] = "2";
    kim.tokens["client"] = {"token-kim", {}, 1};
    description.signedIn = "kim";
    description.clients["client"] = {"secret", "token", 60000};
    description.terms["terms"] = {"2", "Title", "Text"};
    description.behaviour.login = account::Popup{PopupState::Closed, milliseconds(1)};
    description.behaviour.createAccount = account::Popup{PopupState::Failed, milliseconds(2)};
    description.behaviour.terms = account::Popup{PopupState::Completed, milliseconds(3)};
    description.behaviour.requestDelay = milliseconds(4);
    description.behaviour.unavailable = {Operation::GetGuid};
    EXPECT_EQ(account::toJson(description), R"({
  "account": {
    "loginId": "robin",
    "uid": "uid-1",
    "guid": "guid-1",
    "authToken": "auth-1",
    "displayName": "Robin",
    "password": "password"
  },
  "accounts": [
    {
      "loginId": "kim",
      "uid": "uid-2",
      "guid": "guid-2",
      "authToken": "auth-2",
      "mappings": [
        {
          "appID": "a",
          "cpName": "p",
          "cpUID": "u"
        }
      ],
      "agreements": {
        "terms": "2"
      }
    }
  ],
  "signedIn": true,
  "signedInAs": "kim",
  "clients": [
    {
      "id": "client",
      "secret": "secret",
      "token": "token",
      "lifetimeSeconds": 60
    }
  ],
  "mappings": [
    {
      "appID": "app",
      "cpName": "partner",
      "cpUID": "user"
    }
  ],
  "terms": {
    "terms": {
      "version": "2",
      "title": "Title",
      "text": "Text",
      "agreedVersion": "1"
    }
  },
  "tokens": [
    {
      "loginId": "robin",
      "client": "client",
      "token": "token-2",
      "number": 2,
      "expiry": 5000
    },
    {
      "loginId": "kim",
      "client": "client",
      "token": "token-kim",
      "number": 1
    }
  ],
  "popups": {
    "login": {
      "state": "closed",
      "delayMs": 1
    },
    "createAccount": {
      "state": "failed",
      "delayMs": 2
    },
    "terms": {
      "state": "completed",
      "delayMs": 3
    }
  },
  "requestDelayMs": 4,
  "unavailable": [
    "sso_get_guid"
  ]
})");
    EXPECT_EQ(account::toJson(account::parseAccountFile(account::toJson(description), "file")),
              account::toJson(description));
}

}  // namespace
