#include "src/load_probe.h"

#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <utility>

namespace browser {
namespace {

constexpr int kTransferTimeout = 5000;  // in milliseconds

QString reasonOf(const QNetworkReply& reply) {
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString words =
        reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().simplified();
    if (status >= 400) return QStringLiteral("the server answers %1 %2").arg(status).arg(words);
    if (status != 0) return {};
    switch (reply.error()) {
        case QNetworkReply::NoError:
            return {};
        case QNetworkReply::ConnectionRefusedError:
            return QStringLiteral("the connection is refused, so nothing listens there");
        case QNetworkReply::HostNotFoundError:
            return QStringLiteral("there is no host of this name");
        case QNetworkReply::SslHandshakeFailedError:
            return QStringLiteral("its certificate cannot be trusted, or it speaks no TLS");
        case QNetworkReply::RemoteHostClosedError:
            return QStringLiteral("the server closes the connection without an answer");
        case QNetworkReply::TimeoutError:
        case QNetworkReply::OperationCanceledError:
            return QStringLiteral("the server does not answer");
        default:
            return reply.errorString();
    }
}

}  // namespace

void LoadProbe::ask(const QUrl& address, std::function<void(const QString&)> done) {
    QNetworkRequest request(address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setRawHeader("Accept", "text/html,*/*;q=0.8");
    request.setTransferTimeout(kTransferTimeout);
    QNetworkReply* reply = m_network.get(request);
    const auto end = [reply, done = std::move(done)] {
        reply->disconnect();
        reply->deleteLater();
        done(reasonOf(*reply));
    };
    // The head is enough: a page may be long.
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, [reply, end] {
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status >= 200 && (status < 300 || status >= 400)) end();
    });
    QObject::connect(reply, &QNetworkReply::finished, reply, end);
}

}  // namespace browser
