#include <SliceData/platform/sax/ISAXPersist.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>

ISAXReference::~ISAXReference() = default;
ISAXPersistBase::~ISAXPersistBase() = default;
ISAXPersist::~ISAXPersist() = default;
ISAXPersistHelper::~ISAXPersistHelper() = default;
