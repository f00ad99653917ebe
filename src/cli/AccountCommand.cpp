#include "CommandSupport.h"

#include "hosted/AccountModel.h"
#include "hosted/DesktopSignIn.h"
#include "hosted/HostedTokenStore.h"
#include "platform/UrlOpener.h"

#include <QHostInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString statusName(HostedTokenStore::Status status) {
    switch (status) {
    case HostedTokenStore::Status::session:
        return u"session"_s;
    case HostedTokenStore::Status::accessCode:
        return u"accessCode"_s;
    case HostedTokenStore::Status::signedOut:
        return u"signedOut"_s;
    case HostedTokenStore::Status::locked:
        return u"locked"_s;
    }
    return {};
}

int showStatus(Invocation& in) {
    const HostedTokenStore::Status status =
        in.flag(u"unlock"_s) ? in.app.tokens().authorize() : in.app.tokens().status();
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json{{"status", statusName(status)}})) << Qt::endl;
        return 0;
    }
    switch (status) {
    case HostedTokenStore::Status::session:
        in.out << u"Signed in to Parlevo through the browser."_s << Qt::endl;
        break;
    case HostedTokenStore::Status::accessCode:
        in.out << u"Signed in with an access code."_s << Qt::endl;
        break;
    case HostedTokenStore::Status::signedOut:
        in.out << u"Signed out. Sign in with “parlevo account signin”, or enter an access code "
                  "with “parlevo account code pvb_…”."_s
               << Qt::endl;
        break;
    case HostedTokenStore::Status::locked:
        in.out << u"The system keyring hasn’t let Parlevo read your saved sign-in. Unlock it, or "
                  "run “parlevo account status --unlock” to be asked."_s
               << Qt::endl;
        break;
    }
    return 0;
}

int signIn(Invocation& in) {
    DesktopSignIn flow(in.app.hostedClient(), in.app.tokens());
    const bool openBrowser = !in.flag(u"no-browser"_s);
    const QString device = u"Parlevo on %1"_s.arg(QHostInfo::localHostName());
    QTextStream& out = in.out;
    const SignInOutcome outcome =
        QCoro::waitFor(flow.run(device, [&in, &out, openBrowser](const DesktopSignInStart& start) {
            if (openBrowser)
                in.app.urlOpener().open(start.authURL);
            // Printed too, for a computer without a browser.
            out << u"Finish in your browser: "_s << start.authURL.toString(QUrl::FullyEncoded)
                << Qt::endl;
        }));
    if (outcome.kind != SignInOutcome::Kind::signedIn)
        return in.failure(outcome.message());
    in.out << outcome.message() << Qt::endl;
    return 0;
}

int enterCode(Invocation& in) {
    const auto saved = in.app.account().enterAccessCode(in.positionals()[0]);
    if (!saved)
        return in.failure(saved.error());
    in.out << *saved << Qt::endl;
    return 0;
}

int signOut(Invocation& in) {
    const bool wasSignedIn = in.app.tokens().token().has_value();
    QCoro::waitFor(in.app.account().signOut());
    in.out << (wasSignedIn ? u"Signed out of Parlevo."_s : u"You were not signed in."_s)
           << Qt::endl;
    return 0;
}

} // namespace

int runAccountCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                      QTextStream& err) {
    const QList<Subcommand> subcommands{
        {u"status"_s,
         {u"account status [--json] [--unlock]"_s,
          u"Says how you are signed in: a browser session, an access code, signed out, or a\n"
          "locked keyring; --unlock lets the keyring ask to be unlocked."_s},
         0,
         {u"json"_s, u"unlock"_s},
         {},
         showStatus},
        {u"signin"_s,
         {u"account signin [--no-browser]"_s,
          u"Signs in through the browser and waits until you finish there; the page's\n"
          "address is printed too, to open on another computer."_s},
         0,
         {u"no-browser"_s},
         {},
         signIn},
        {u"code"_s,
         {u"account code pvb_…"_s, u"Signs in with an access code."_s},
         1,
         {},
         {},
         enterCode},
        {u"signout"_s,
         {u"account signout"_s,
          u"Forgets the saved sign-in on this computer and revokes it with Parlevo."_s},
         0,
         {},
         {},
         signOut},
    };
    return dispatch(app, u"account"_s, subcommands, arguments, out, err);
}

} // namespace quendra
