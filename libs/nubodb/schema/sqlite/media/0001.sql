-- The media database. The four media tables are alike: one row per file, columns named like the record's fields.
-- Texts are UTF-8; paths are bytes as they stand in the request. A zero number and an empty text mean "unknown".
-- A row lives in the tree of its path: saving one writes one page, and a folder lies in one piece.

create table music (
    path              text not null primary key,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text not null,
    album             text not null,
    artist            text not null,
    genre             text not null,
    composer          text not null,
    comment           text not null,
    camera_make       text not null,
    camera_model      text not null,
    exposure_time     text not null,
    aperture          text not null,
    date_taken        text not null,
    create_time       text not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text not null,
    duration          real not null,             -- seconds
    bitrate           integer not null,          -- bit/s
    container_bitrate integer not null,
    frequency         integer not null,          -- Hz
    channels          integer not null,
    resolution_x      integer not null,          -- pixels
    resolution_y      integer not null,
    filesize          integer not null,          -- bytes
    cover_count       integer not null,
    iso               integer not null
) without rowid;

create table video (
    path              text not null primary key,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text not null,
    album             text not null,
    artist            text not null,
    genre             text not null,
    composer          text not null,
    comment           text not null,
    camera_make       text not null,
    camera_model      text not null,
    exposure_time     text not null,
    aperture          text not null,
    date_taken        text not null,
    create_time       text not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text not null,
    duration          real not null,             -- seconds
    bitrate           integer not null,          -- bit/s
    container_bitrate integer not null,
    frequency         integer not null,          -- Hz
    channels          integer not null,
    resolution_x      integer not null,          -- pixels
    resolution_y      integer not null,
    filesize          integer not null,          -- bytes
    cover_count       integer not null,
    iso               integer not null,
    seen              text not null default '0'  -- '1': seen by a resynchronisation of the photo share
) without rowid;

create table photo (
    path              text not null primary key,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text not null,
    album             text not null,
    artist            text not null,
    genre             text not null,
    composer          text not null,
    comment           text not null,
    camera_make       text not null,
    camera_model      text not null,
    exposure_time     text not null,
    aperture          text not null,
    date_taken        text not null,
    create_time       text not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text not null,
    duration          real not null,             -- seconds
    bitrate           integer not null,          -- bit/s
    container_bitrate integer not null,
    frequency         integer not null,          -- Hz
    channels          integer not null,
    resolution_x      integer not null,          -- pixels
    resolution_y      integer not null,
    filesize          integer not null,          -- bytes
    cover_count       integer not null,
    iso               integer not null
) without rowid;

create table playlist (
    path              text not null primary key,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text not null,
    album             text not null,
    artist            text not null,
    genre             text not null,
    composer          text not null,
    comment           text not null,
    camera_make       text not null,
    camera_model      text not null,
    exposure_time     text not null,
    aperture          text not null,
    date_taken        text not null,
    create_time       text not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text not null,
    duration          real not null,             -- seconds
    bitrate           integer not null,          -- bit/s
    container_bitrate integer not null,
    frequency         integer not null,          -- Hz
    channels          integer not null,
    resolution_x      integer not null,          -- pixels
    resolution_y      integer not null,
    filesize          integer not null,          -- bytes
    cover_count       integer not null,
    iso               integer not null
) without rowid;

create table directory (
    path              text not null primary key
) without rowid;
