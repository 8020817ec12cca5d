/* Builds a small document in memory and prints it. */
#include <qmv/xml.h>
#include <stdlib.h>

int main(void) {
    xml_data x = {0, 0, NULL};
    xml_data_header(&x);
    xml_data_tag(&x, "ports", XML_TAG_OPEN);
    xml_data_attr_num(&x, "count", 2);
    xml_data_tag(&x, NULL, XML_TAG_START_LINE);
    xml_data_element(&x, "name", "LAN & WLAN");
    xml_data_tag(&x, "name", XML_TAG_START);
    xml_data_txt(&x, "<none>", 6);
    xml_data_tag(&x, "name", XML_TAG_END);
    xml_data_tag(&x, "ports", XML_TAG_END);

    /* Memory that ran out leaves a capacity of 0. */
    const int failed = x.capacity == 0;
    if (failed)
        fputs("no memory\n", stderr);
    else
        fwrite(x.data, 1, x.length, stdout);
    free(x.data);
    return failed;
}
