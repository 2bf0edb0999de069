#ifndef BROWSER_LOAD_PROBE_H_
#define BROWSER_LOAD_PROBE_H_

#include <QNetworkAccessManager>
#include <QString>
#include <QUrl>
#include <functional>

namespace browser {

/// Finds out why a page cannot be loaded, which this engine does not tell: asks the server once more.
/// The thread of the event loop.
class LoadProbe {
  public:
    /// @param done  told once why the address gives no page, empty when it does; not after the
    ///              object has gone.
    void ask(const QUrl& address, std::function<void(const QString& reason)> done);

  private:
    QNetworkAccessManager m_network;
};

}  // namespace browser

#endif
