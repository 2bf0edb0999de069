#include "src/account/window_profile.h"

#include <QBuffer>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QWebEngineUrlSchemeHandler>

namespace browser {
namespace {

constexpr char kScheme[] = "sso-window";

}  // namespace

void registerWindowScheme() {
    QWebEngineUrlScheme scheme(kScheme);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    scheme.setFlags(QWebEngineUrlScheme::SecureScheme);
    QWebEngineUrlScheme::registerScheme(scheme);
}

// Not QWebEnginePage::setHtml(), which shows nothing of what is longer than 2 MB.
class WindowProfile::Handler : public QWebEngineUrlSchemeHandler {
  public:
    void serve(const QUrl& url, const QByteArray& html) {
        m_url = url;
        m_html = html;
    }
    const QUrl& url() const { return m_url; }

    void requestStarted(QWebEngineUrlRequestJob* job) override {
        if (job->requestUrl() != m_url) return job->fail(QWebEngineUrlRequestJob::RequestDenied);
        auto* body = new QBuffer(job);
        body->setData(m_html);
        job->reply("text/html", body);
    }

  private:
    QUrl m_url;
    QByteArray m_html;
};

class WindowProfile::Guard : public QWebEngineUrlRequestInterceptor {
  public:
    explicit Guard(const Handler& handler) : m_handler(handler) {}

    void interceptRequest(QWebEngineUrlRequestInfo& request) override {
        request.block(request.requestUrl() != m_handler.url());
    }

  private:
    const Handler& m_handler;
};

WindowProfile::WindowProfile()
    : m_handler(std::make_unique<Handler>()), m_guard(std::make_unique<Guard>(*m_handler)) {
    installUrlSchemeHandler(kScheme, m_handler.get());
    setUrlRequestInterceptor(m_guard.get());
}

WindowProfile::~WindowProfile() { setUrlRequestInterceptor(nullptr); }

// The engine asks no guard about web sockets. What comes before the page's own head is in that, too.
QUrl WindowProfile::serve(const QByteArray& html) {
    static const QByteArray kNoConnection =
        "<!DOCTYPE html><meta http-equiv=\"Content-Security-Policy\" content=\"connect-src "
        "'none'\">";
    QUrl url(QStringLiteral("%1:page-%2").arg(QLatin1String(kScheme)).arg(++m_served));
    m_handler->serve(url, kNoConnection + html);
    return url;
}

}  // namespace browser
