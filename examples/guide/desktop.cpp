#include "client.h"

#include <common/tools/datewatcher.h>
#include <common/tools/fileiconprovider.h>
#include <common/tools/insertionfixupvalidator.h>
#include <common/tools/sip/password.h>
#include <common/tools/svg/svgicon.h>

void Client::WatchUser()
{
    //! [idle]
    using common::IdleWatcher;
    watcher = IdleWatcher::instance(); // a member: it watches for as long as it is kept
    connect(watcher.data(), &IdleWatcher::idle, this, [this] { SetPresence(Away); });
    connect(watcher.data(), &IdleWatcher::active, this, [this] { SetPresence(Online); });
    //! [idle]

    //! [date]
    using tools::DateWatcher;
    connect(DateWatcher::GetDateWatcher().data(), &DateWatcher::currentDateChanged, this,
            &Client::RefreshDayTitles);
    //! [date]
}

void Client::SetUpInput()
{
    //! [validator]
    auto* digits = new tools::CInsertionFixupValidator(QRegExp("[0-9]*"), edit);
    edit->setValidator(digits);
    //! [validator]

    //! [password]
    using tools::sip::Password;
    edit->setValidator(new tools::CInsertionFixupValidator(Password::PasswordSymbolRegExp(), edit));
    button->setEnabled(Password::IsGood(edit->text()));
    //! [password]
}

void Client::SetUpIcons()
{
    //! [svg]
    button->setIcon(tools::svg::SvgIcon::CreateFromSvg(":/icons/call.svg"));
    //! [svg]

    //! [file icon]
    const QIcon icon = tools::FileIconProvider().icon(QFileInfo("report.pdf"));
    //! [file icon]
    setWindowIcon(icon);
}
