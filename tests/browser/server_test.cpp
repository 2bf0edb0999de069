// The server of an application's folder, asked by somebody who need not be a browser.

#include "server/folder_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "http_client.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class AServedFolder : public ::testing::Test {
  protected:
    AServedFolder() {
        m_folder.write("secret.txt", "the user's own");
        fs::create_directories(m_folder.path("app/pages"));
        fs::create_directories(m_folder.path("app2"));
        m_folder.write("app2/data.json", "2");
        m_folder.write("app/index.html", "<title>start</title>");
        m_folder.write("app/pages/index.html", "<title>pages</title>");
        m_folder.write("app/digits.txt", "0123456789");
        m_folder.write("app/a b\xc3\xa4.txt", "odd name");
        m_server.add("one.localhost", m_folder.path("app"));
        m_server.add("two.localhost", m_folder.path("app2"));
        m_server.start();
    }

    browser::HttpAnswer get(const std::string& target, const std::string& headers = "",
                            const std::string& method = "GET") const {
        return browser::ask(m_server.port(), method + " " + target +
                                                 " HTTP/1.1\r\nHost: one.localhost\r\n" + headers);
    }

    support::TemporaryFolder m_folder;
    browser::FolderServer m_server{0};
};

TEST_F(AServedFolder, GivesFilesWithTheirTypes) {
    for (const auto& [name, type] : std::map<std::string, std::string>{
             {"page.HTML", "text/html; charset=utf-8"},
             {"module.js", "text/javascript; charset=utf-8"},
             {"module.mjs", "text/javascript; charset=utf-8"},
             {"data.json", "application/json"},
             {"style.css", "text/css; charset=utf-8"},
             {"picture.svg", "image/svg+xml"},
             {"code.wasm", "application/wasm"},
             {"thing.unknown", "application/octet-stream"},
             {"nothing", "application/octet-stream"},
         }) {
        m_folder.write("app/" + name, "content of " + name);
        const auto answer = get("/" + name + "?query");
        EXPECT_EQ(answer.status, 200) << name;
        EXPECT_EQ(answer.headers.at("content-type"), type) << name;
        EXPECT_EQ(answer.body, "content of " + name);
    }
    EXPECT_EQ(get("/a%20b%C3%a4.txt").body, "odd name");
}

TEST_F(AServedFolder, GivesTheIndexOfAFolder) {
    EXPECT_EQ(get("/").body, "<title>start</title>");
    EXPECT_EQ(get("/pages/").body, "<title>pages</title>");
    const auto answer = get("//pages?a=b");
    EXPECT_EQ(answer.status, 301);
    EXPECT_EQ(answer.headers.at("location"), "/pages/?a=b");
    fs::create_directory(m_folder.path("app/empty"));
    EXPECT_EQ(get("/empty/").status, 404);
}

TEST_F(AServedFolder, TellsOfTheHeadWhatItTellsOfTheWhole) {
    const auto answer = get("/digits.txt", "", "HEAD");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.headers.at("content-length"), "10");
    EXPECT_EQ(answer.body, "");
}

TEST_F(AServedFolder, GivesParts) {
    const auto part = [&](const std::string& range) {
        const auto answer = get("/digits.txt", "Range: bytes=" + range + "\r\n");
        const auto about = answer.headers.find("content-range");
        return std::to_string(answer.status) + " " +
               (about == answer.headers.end() ? "-" : about->second) + " " + answer.body;
    };
    EXPECT_EQ(part("2-4"), "206 bytes 2-4/10 234");
    EXPECT_EQ(part("7-"), "206 bytes 7-9/10 789");
    EXPECT_EQ(part("7-99"), "206 bytes 7-9/10 789");
    EXPECT_EQ(part("-3"), "206 bytes 7-9/10 789");
    EXPECT_EQ(part("-99"), "206 bytes 0-9/10 0123456789");
    EXPECT_THAT(part("10-"), ::testing::StartsWith("416 bytes */10"));
    EXPECT_THAT(part("-0"), ::testing::StartsWith("416 bytes */10"));
    for (const char* none : {"", "-", "4-2", "x-", "1-2,4-5", "99999999999999999999999-"}) {
        EXPECT_EQ(part(none), "200 - 0123456789") << none;
    }
    const std::string tag = get("/digits.txt").headers.at("etag");
    EXPECT_EQ(get("/digits.txt", "Range: bytes=1-1\r\nIf-Range: " + tag + "\r\n").status, 206);
    EXPECT_EQ(get("/digits.txt", "Range: bytes=1-1\r\nIf-Range: \"old\"\r\n").status, 200);
}

TEST_F(AServedFolder, IsAskedAgainForWhatIsKnown) {
    const auto first = get("/digits.txt");
    EXPECT_EQ(first.headers.at("cache-control"), "no-cache");
    const std::string ifTag = "If-None-Match: " + first.headers.at("etag") + "\r\n";
    const std::string ifDate = "If-Modified-Since: " + first.headers.at("last-modified") + "\r\n";
    EXPECT_EQ(get("/digits.txt", ifTag).status, 304);
    EXPECT_EQ(get("/digits.txt", ifDate).status, 304);
    EXPECT_EQ(get("/digits.txt", "If-None-Match: \"other\"\r\n" + ifDate).status, 200);
    m_folder.write("app/digits.txt", "other");
    EXPECT_EQ(get("/digits.txt", ifTag).body, "other");
}

TEST_F(AServedFolder, GivesNothingOutsideOfIt) {
    fs::create_symlink("../secret.txt", m_folder.path("app/link.txt"));
    fs::create_directory_symlink("..", m_folder.path("app/up"));
    fs::create_directory_symlink("pages", m_folder.path("app/same"));
    for (const char* target :
         {"/../secret.txt", "/pages/../../secret.txt", "/%2e%2e/secret.txt", "/..%2fsecret.txt",
          "/%2E%2E%2Fsecret.txt", "/link.txt", "/up/secret.txt", "/up/app2/data.json",
          "/..%5csecret.txt", "/%252e%252e/secret.txt", "//../secret.txt", "/secret.txt%00.html",
          "/digits.txt%00", "/%", "/%zz", "secret.txt", "http://one.localhost/../secret.txt"}) {
        const auto answer = get(target);
        EXPECT_THAT(answer.status, ::testing::AnyOf(400, 403, 404)) << target;
        EXPECT_THAT(answer.body, Not(HasSubstr("own"))) << target;
    }
    EXPECT_EQ(get("/same/").body, "<title>pages</title>") << "a link may stay inside";
}

TEST_F(AServedFolder, IsThereUnderItsOwnHostNameOnly) {
    const int port = m_server.port();
    for (const char* host : {"Host: evil.example\r\n", "Host: 127.0.0.1\r\n", "Host: localhost\r\n",
                             "Host: one.localhost:80\r\n", "Host: one.localhost.\r\n", ""}) {
        const auto answer = browser::ask(port, std::string("GET / HTTP/1.1\r\n") + host);
        EXPECT_EQ(answer.status, 421) << host;
    }
    const auto other = browser::ask(port, "GET /data.json HTTP/1.1\r\nHost: two.localhost\r\n");
    EXPECT_EQ(other.body, "2");
    EXPECT_EQ(get("/data.json").status, 404);
    EXPECT_EQ(other.headers.at("cross-origin-resource-policy"), "same-origin");
    EXPECT_EQ(other.headers.at("x-frame-options"), "SAMEORIGIN");
}

TEST_F(AServedFolder, CanBeReadAndNothingElse) {
    const auto answer = get("/digits.txt", "Content-Length: 3\r\n", "POST");
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(answer.headers.at("allow"), "GET, HEAD");
}

TEST_F(AServedFolder, SaysReadablyWhatItLacks) {
    const auto answer = get("/no<b>such</b>.js");
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.headers.at("content-type"), "text/html; charset=utf-8");
    EXPECT_THAT(answer.body, AllOf(HasSubstr("404 Not Found"), HasSubstr("/no&lt;b&gt;such")));
}

TEST_F(AServedFolder, HoldsNothingButFiles) {
    ASSERT_EQ(mkfifo(m_folder.path("app/pipe").c_str(), 0600), 0);
    EXPECT_EQ(get("/pipe").status, 404);
}

TEST_F(AServedFolder, KeepsItsPort) {
    EXPECT_THROW(browser::FolderServer second(m_server.port()), std::system_error);
}

}  // namespace
