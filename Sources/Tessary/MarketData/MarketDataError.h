#pragma once

#include "APIError.h"
#include "TessaryWire/Json.h"

#include <QNetworkReply>
#include <QString>

#include <expected>
#include <variant>

namespace tessary {

// The request never got an HTTP answer: no connection, a reset, a time-out. `message` is
// the network layer's own text.
struct TransportError {
    QNetworkReply::NetworkError code = QNetworkReply::UnknownNetworkError;
    QString message;

    QString description() const { return message; }
    friend bool operator==(const TransportError&, const TransportError&) = default;
};

// The caller gave up on the request. Callers treat it as silent.
struct RequestCancelled {
    QString description() const;
    friend bool operator==(const RequestCancelled&, const RequestCancelled&) = default;
};

// Why a market-data call failed. The kinds stay apart because callers treat them apart: a
// status from the service, a body that does not decode, the network, or a cancellation.
class MarketDataError {
public:
    using Value = std::variant<APIError, DecodingError, TransportError, RequestCancelled>;

    MarketDataError(APIError error)
        : m_value(std::move(error))
    {
    }
    MarketDataError(DecodingError error)
        : m_value(std::move(error))
    {
    }
    MarketDataError(TransportError error)
        : m_value(std::move(error))
    {
    }
    MarketDataError(RequestCancelled cancelled)
        : m_value(cancelled)
    {
    }

    const Value& value() const { return m_value; }
    const APIError* apiError() const { return std::get_if<APIError>(&m_value); }
    const DecodingError* decodingError() const { return std::get_if<DecodingError>(&m_value); }
    const TransportError* transportError() const { return std::get_if<TransportError>(&m_value); }
    bool isCancelled() const { return std::holds_alternative<RequestCancelled>(m_value); }

    QString description() const;

    friend bool operator==(const MarketDataError&, const MarketDataError&) = default;

private:
    Value m_value;
};

template <class T> using MarketDataResult = std::expected<T, MarketDataError>;

} // namespace tessary
