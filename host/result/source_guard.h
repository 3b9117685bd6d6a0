#pragma once

#include "host/result/result_paths.h"

#include <QString>

/// True when a path, which need not exist, is a directory or lies below it, all links resolved. Throws a failure when
/// that cannot be told.
bool lies_inside(const QString& path, const QString& directory);

/// Refuses to work with a result of which anything that is written to lies inside the source; each may be a link of its
/// own. `log_path` may be empty. Throws a failure.
void keep_out_of_source(const QString& source, const result_paths& result, const QString& log_path = {});

/// Refuses a result in which something lies in the way of what is going to be written: a link in the place of a folder
/// or file of ours, a link below the folders of copies, or anything but a file where a file is to be, a second name of
/// a file that is written in place (with `log_path` the log and the database too), or a journal beside the database
/// that has another file deleted. A copy is never a link, so that whoever put it there wanted writing to go astray.
/// Throws a failure that names it.
void refuse_planted_links(const result_paths& result, const QString& log_path = {});

/// Creates a folder with those above it. Throws a failure that says what is in the way.
void make_folder(const QString& path);
