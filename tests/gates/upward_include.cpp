// Shared pieces know nothing of the panel: this must not find the header.
#include "mainwindow.h"
