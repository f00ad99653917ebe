#include "CommandSupport.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

int runNotesCommand(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    return dispatch(u"notes"_s, {}, arguments, out, err);
}

} // namespace quendra
