-- The media database. The four media tables are alike: one row per file, columns named like the record's fields.
-- Texts are UTF-8; paths are bytes as they stand in the request. A zero number and an empty text mean "unknown".

create table music (
    id                integer primary key,
    path              text not null unique,
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
);

create table video (
    id                integer primary key,
    path              text not null unique,
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
);

create table photo (
    id                integer primary key,
    path              text not null unique,
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
);

create table playlist (
    id                integer primary key,
    path              text not null unique,
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
);

create table directory (
    id                integer primary key,
    path              text not null unique
);
