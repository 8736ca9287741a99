#include <SliceData/platform/sax/ISAXPersist.h>

ISAXReference::~ISAXReference() = default;
ISAXPersistBase::~ISAXPersistBase() = default;
ISAXPersist::~ISAXPersist() = default;
