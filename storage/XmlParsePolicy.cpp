#include "storage/XmlParsePolicy.h"

#include <libxml/entities.h>
#include <libxml/hash.h>
#include <libxml/parserInternals.h>

namespace vk {
namespace {

void Stop(void* context) {
  auto* ctxt = static_cast<xmlParserCtxtPtr>(context);
  // Stopping marks the parse with XML_ERR_USER_STOP, which nothing else in the component
  // asks for; the document is then not well-formed.
  xmlStopParser(ctxt);
  ctxt->wellFormed = 0;
}

void StopAtEntity(void* context, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*) {
  Stop(context);
}

void StopAtUnparsedEntity(void* context, const xmlChar*, const xmlChar*, const xmlChar*,
                          const xmlChar*) {
  Stop(context);
}

bool HasEntities(const xmlDtd* dtd) {
  return dtd != nullptr && ((dtd->entities != nullptr &&
                             xmlHashSize(static_cast<xmlHashTablePtr>(dtd->entities)) > 0) ||
                            (dtd->pentities != nullptr &&
                             xmlHashSize(static_cast<xmlHashTablePtr>(dtd->pentities)) > 0));
}

}  // namespace

void XmlParsePolicy::RefuseEntities(xmlSAXHandler* sax) {
  sax->entityDecl = &StopAtEntity;
  sax->unparsedEntityDecl = &StopAtUnparsedEntity;
}

bool XmlParsePolicy::Refused(const xmlParserCtxt* ctxt) {
  return ctxt->errNo == XML_ERR_USER_STOP;
}

bool XmlParsePolicy::DeclaresEntities(const xmlDoc* doc) {
  return doc != nullptr && (HasEntities(doc->intSubset) || HasEntities(doc->extSubset));
}

const char16_t* XmlParsePolicy::RefusalMessage() {
  return u"The document declares entities, which no file of this kind may do.";
}

}  // namespace vk
