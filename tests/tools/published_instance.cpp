// Test aid: a copy of the application as the session bus sees it, without
// the application. It publishes itself at LOCATION, answers Status with
// STATUS (with no STATUS it sets no provider), and prints one line, "toggle"
// or "cancel", for each request it is handed.
//
//   published_instance LOCATION [STATUS]

#include "platform/linux/DBusInstanceBus.h"

#include <QCoreApplication>
#include <QTextStream>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QTextStream out(stdout);
    if (arguments.size() < 2 || arguments.size() > 3) {
        QTextStream(stderr) << u"usage: published_instance LOCATION [STATUS]"_s << Qt::endl;
        return 2;
    }
    DBusInstanceBus bus;
    if (arguments.size() == 3)
        bus.setStatusProvider([line = arguments[2]] { return line; });
    QObject::connect(&bus, &InstanceBus::toggleRequested,
                     [&out] { out << u"toggle"_s << Qt::endl; });
    QObject::connect(&bus, &InstanceBus::cancelRequested,
                     [&out] { out << u"cancel"_s << Qt::endl; });
    QObject::connect(&bus, &InstanceBus::noteToggleRequested,
                     [&out] { out << u"note"_s << Qt::endl; });
    if (!bus.publish(arguments[1])) {
        QTextStream(stderr) << u"published_instance: could not publish on the session bus"_s
                            << Qt::endl;
        return 1;
    }
    return QCoreApplication::exec();
}
