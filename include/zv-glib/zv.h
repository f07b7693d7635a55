/* The framework from C and, through GObject introspection, from Vala,
 * Python, JavaScript and Rust. Include this header only. */
#pragma once

#include <zv-glib/zv-color.h>
#include <zv-glib/zv-conversation-thread.h>
#include <zv-glib/zv-error.h>
#include <zv-glib/zv-find-bar.h>
#include <zv-glib/zv-find-controller.h>
#include <zv-glib/zv-head-css.h>
#include <zv-glib/zv-html-document.h>
#include <zv-glib/zv-html-element.h>
#include <zv-glib/zv-message-item.h>
#include <zv-glib/zv-page-controller.h>
#include <zv-glib/zv-plain-text.h>
#include <zv-glib/zv-resource-provider.h>
#include <zv-glib/zv-scheme-handler.h>
#include <zv-glib/zv-text-snippet.h>
#include <zv-glib/zv-url-cache.h>
#include <zv-glib/zv-web-view.h>
#include <zv-glib/zv-web-window-controller.h>

