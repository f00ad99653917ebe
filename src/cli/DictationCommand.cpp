#include "CommandSupport.h"

#include "platform/InstanceBus.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

int toggleDictation(Invocation& in) {
    if (const auto asked = in.app.instanceBus().toggle(); !asked)
        return in.failure(asked.error());
    return 0;
}

int cancelDictation(Invocation& in) {
    if (const auto asked = in.app.instanceBus().cancel(); !asked)
        return in.failure(asked.error());
    return 0;
}

int showDictationStatus(Invocation& in) {
    const auto status = in.app.instanceBus().status();
    if (!status)
        return in.failure(status.error());
    in.out << *status << Qt::endl;
    return 0;
}

} // namespace

int runDictationCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                        QTextStream& err) {
    const QList<Subcommand> subcommands{
        {u"toggle"_s,
         {u"dictation toggle"_s,
          u"Starts a dictation in the running Parlevo, or finishes the one under way,\n"
          "as the dictation shortcut does; bind it to a key in your desktop's settings."_s},
         0,
         {},
         {},
         toggleDictation},
        {u"cancel"_s,
         {u"dictation cancel"_s,
          u"Stops the dictation under way in the running Parlevo and drops what it heard."_s},
         0,
         {},
         {},
         cancelDictation},
        {u"status"_s,
         {u"dictation status"_s,
          u"Prints one line on what the running Parlevo is doing, such as “ready”."_s},
         0,
         {},
         {},
         showDictationStatus},
    };
    return dispatch(app, u"dictation"_s, subcommands, arguments, out, err);
}

} // namespace quendra
