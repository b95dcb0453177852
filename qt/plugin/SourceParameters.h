#ifndef KOPA_QT_SOURCE_PARAMETERS_H
#define KOPA_QT_SOURCE_PARAMETERS_H

#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "KopaClient.h"

// The parameters a source takes from createSource()'s map and from setBackendProperty(), under
// the names below. Together they are the options of every request the source makes.
class SourceParameters {
  public:
    static constexpr const char* kTimeout = "kopa.timeout";
    static constexpr const char* kRequestParameter = "kopa.requestParameter";
    static constexpr const char* kPacketData = "kopa.packetData";

    // The defaults, then every known name of `parameters`; a value that does not fit its
    // parameter is logged and the default kept. Unknown names are ignored, as Qt's own
    // plugins do: a map may carry parameters for several plugins.
    explicit SourceParameters(const QVariantMap& parameters = {});

    // Sets one parameter; false for an unknown name or a value that does not fit.
    bool set(const QString& name, const QVariant& value);
    // The parameter's value, or an invalid QVariant for an unknown name.
    QVariant get(const QString& name) const;

    // The request options, with `timeoutMs` (when above zero) in place of kopa.timeout.
    kopa::RequestOptions requestOptions(int timeoutMs = 0) const;
    int defaultTimeoutMs() const { return timeoutMs_; }

  private:
    int timeoutMs_ = 30000;
    unsigned int requestParameter_ = 0;
    bool packetDataAllowed_ = true;
};

#endif
