#include <SliceData/platform/sax/MDocumentError.h>

MDocumentError::~MDocumentError() = default;
MDocumentMismatch::~MDocumentMismatch() = default;
