#pragma once

#include <QStringView>

namespace tools::sip {

/** What an address is made of; a part that it does not have is null. */
struct AddressParts
{
    QStringView displayName;
    QStringView user;
    QStringView host;
    QStringView port;
    QStringView postDial; // as written, from its first comma on
};

// Each takes the texts that the pattern of its name in SipId matches exactly, and finds the same
// parts, in a fraction of the time.

bool MatchURI(QStringView text, AddressParts& parts);
bool MatchID(QStringView text, AddressParts& parts);
bool MatchSkypeURI(QStringView text, AddressParts& parts);
bool MatchPhoneNumber(QStringView text, AddressParts& parts);
bool MatchSIPUser(QStringView text, AddressParts& parts);

} // namespace tools::sip
