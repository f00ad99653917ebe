#pragma once

#include <QString>

namespace quendra {

// What the token store hands the hosted client for one call.
struct HostedBearer {
    enum class Kind { none, locked, token };
    Kind kind = Kind::none;
    QString token;

    static HostedBearer none() { return {Kind::none, {}}; }
    static HostedBearer locked() { return {Kind::locked, {}}; }
    static HostedBearer of(QString token) { return {Kind::token, std::move(token)}; }

    friend bool operator==(const HostedBearer&, const HostedBearer&) = default;
};

} // namespace quendra
