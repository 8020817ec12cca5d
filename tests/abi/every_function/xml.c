#include "check.h"

void call_xml(void) {
    static const char kDocument[] =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<status id=\"7\" kind=\"a\">\n"
        "<name>a&lt;b</name>\n"
        "&amp;xtext</status>\n";
    xml_data x = {0, 0, NULL};
    xml_data_header(&x);
    xml_data_tag(&x, "status", XML_TAG_OPEN);
    xml_data_attr_num(&x, "id", 7);
    xml_data_attr_str(&x, "kind", "a");
    xml_data_tag(&x, NULL, XML_TAG_START_LINE);
    xml_data_element(&x, "name", "a<b");
    xml_data_txt(&x, "&", 1);
    xml_data_append(&x, "x", 1);
    check("xml_data_txt_fd", xml_data_txt_fd(&x, input("te\n")) == 2);
    xml_data_str(&x, "xt");
    xml_data_tag(&x, "status", XML_TAG_END);
    check("xml_data_append",
          x.length == sizeof kDocument - 1 && memcmp(x.data, kDocument, x.length) == 0);
    free(x.data);
}
