#include "client.h"

#include <common/contact/contactcontext.h>
#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>
#include <common/tools/web/web.h>

#include <QUrl>

void Client::ShowParty()
{
    //! [contact]
    const auto contact = common::contact::CreateInstance("sip:jane@example.test", "Jane Roe");
    label->setText(contact->Name().isEmpty() ? contact->Number() : contact->Name());
    //! [contact]
}

void Client::DialPasted()
{
    //! [normalise]
    const auto address = tools::sip::Normalise("tel:+7-(495)-555-01-23;ext=12");
    if (address.problem)
        ShowProblem(address.reason); // "the host is missing"
    else
        Dial(address.text); // "+74955550123,12"
    //! [normalise]
}

void Client::DialNumber()
{
    //! [number]
    using common::contact::number::INumberContext;
    const auto number = common::contact::number::CreateInstance("+74955550123,,12");
    if (number->Type() == INumberContext::PhoneNumber)
        Dial(number->ContactNumber()); // "74955550123,12"
    //! [number]
}

void Client::TakeApart()
{
    //! [parse]
    using tools::sip::SipId;
    QString user, host, name, postDial, port;
    const QString text = "\"Jane Roe\" <sip:jane@example.test:5060>";
    if (SipId::ParseURIEx(text, user, host, name, postDial, port))
        label->setText(user + " at " + host); // "jane at example.test"; the port is "5060"
    //! [parse]

    //! [web]
    const QUrl base(tools::web::Web::GetWebServisesUrl("sip:jane@example.test"));
    //! [web]
    label->setToolTip(base.host());
}
