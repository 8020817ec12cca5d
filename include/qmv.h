/* All of libqmv. */
#ifndef QMV_H
#define QMV_H

#include <qmv/accounts.h>
#include <qmv/cgi.h>
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/system.h>
#include <qmv/types.h>
#include <qmv/util.h>
#include <qmv/widgets.h>
#include <qmv/xml.h>

#endif
