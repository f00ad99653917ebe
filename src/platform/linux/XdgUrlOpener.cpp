#include "platform/UrlOpener.h"

#include <QProcess>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// xdg-open hands the page to the desktop's browser and works without a Qt GUI
// application, which the command line does not have.
class XdgUrlOpener final : public UrlOpener {
public:
    bool open(const QUrl& url) override {
        return QProcess::startDetached(u"xdg-open"_s, {url.toString(QUrl::FullyEncoded)});
    }
};

} // namespace

std::unique_ptr<UrlOpener> UrlOpener::create() {
    return std::make_unique<XdgUrlOpener>();
}

} // namespace quendra
