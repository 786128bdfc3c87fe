#pragma once

#include <string>
#include <utility>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelImageInputCP.h"
#include "QelImageOutputCP.h"

// What marks a connection point as an alias.
class QEL_API QelAliasConnectionPoint {
  public:
    virtual ~QelAliasConnectionPoint();
};

// A port of an aggregate that is really one of its members': an input and an output in one object,
// so that a connection passes through it. On an input of the aggregate (an input alias) its input
// side faces the outside, on an output the inside. Two aliases of one aggregate may be connected,
// an output to an input: what arrives there then passes through without a member between.
//
// The stream data is that of the output upstream.
//
// The definitions are in the library, for image points alone: use QelImageAliasCP.
template <class InputCP, class OutputCP>
class QEL_API QelAliasCP : public QelAliasConnectionPoint, public InputCP, public OutputCP {
  public:
    // Raises incompatiblePoints (50) "Alias connection point cannot be constructed for incompatible
    // connection points of type ", the two classes with " and " between them.
    explicit QelAliasCP(std::string name);
    ~QelAliasCP() override;
    QelAliasCP & operator=(QelAliasCP const &) = delete;

    MoxSmartPtr<QelConnectionPoint> clone() const override;
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override;
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const & name) const override;
    std::type_info const & getDataType() const override;

    // On both sides, and on to the consumers.
    void setStreamData(QelStreamData * data) override;
    // Those of an input; an output alias brings its aggregate up to date first.
    bool getStatus() override;
    ZanError getStatusMessage() override;
    // An output alias tells its consumers, an input alias its aggregate.
    void outOfDate(bool flag) override;
    void checkStatus() override;
    void print(std::ostream & out, std::string const & prefix) const override;
};

using QelImageAliasCP = QelAliasCP<QelImageInputCP, QelImageOutputCP>;
extern template class QEL_API QelAliasCP<QelImageInputCP, QelImageOutputCP>;
