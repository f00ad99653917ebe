#include "platform/LoginItem.h"

#include "model/ApplicationId.h"
#include "model/DurableFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// $XDG_CONFIG_HOME/autostart/<application id>.desktop, which every desktop
// following the XDG autostart rules runs at login.
class XdgAutostart final : public LoginItem {
public:
    explicit XdgAutostart(QString executable)
        : executable(std::move(executable)) {}

    bool enabled() const override { return QFileInfo::exists(path()); }

    std::expected<void, QString> setEnabled(bool on) override {
        const QString file = path();
        if (!on) {
            if (!QFileInfo::exists(file) || QFile::remove(file))
                return {};
            return std::unexpected(
                u"Could not remove %1: %2."_s.arg(file, QString::fromLocal8Bit(strerror(errno))));
        }
        if (!QDir().mkpath(QFileInfo(file).absolutePath()))
            return std::unexpected(
                u"Could not create the folder %1."_s.arg(QFileInfo(file).absolutePath()));
        if (auto written = DurableFile::write(file, entry(), 0644); !written)
            return std::unexpected(written.error().message);
        return {};
    }

private:
    static QString path() {
        return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
               u"/autostart/"_s + QStringLiteral(QUENDRA_APPLICATION_ID) + u".desktop"_s;
    }

    QByteArray entry() const {
        // Quoted as the desktop entry rules want, so that any path runs: \ " ` $
        // escaped inside the quotes, then every \ again as in any value; % doubled.
        QString quoted = executable;
        quoted.replace(u"%"_s, u"%%"_s).replace(u"\\"_s, u"\\\\\\\\"_s);
        for (const QString& reserved : {u"\""_s, u"`"_s, u"$"_s})
            quoted.replace(reserved, u"\\\\"_s + reserved);
        return QStringLiteral("[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Parlevo\n"
                              "Comment=Dictation into any text field\n"
                              "Exec=\"%1\" --autostart\n"
                              "Icon=%2\n"
                              "Terminal=false\n"
                              "X-GNOME-Autostart-enabled=true\n")
            .arg(quoted, QStringLiteral(QUENDRA_APPLICATION_ID))
            .toUtf8();
    }

    QString executable;
};

} // namespace

std::unique_ptr<LoginItem> LoginItem::create(const QString& executable) {
    return std::make_unique<XdgAutostart>(executable);
}

} // namespace quendra
