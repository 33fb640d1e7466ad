-- The photo database: photos, albums, who may see them, and the notes on videos.

create table photo (
    path          text not null primary key, -- bytes as they stand in the request
    name          text not null,            -- file name
    title         text not null,
    description   text not null,
    album         text not null,            -- name of the folder
    camera_make   text not null,
    camera_model  text not null,
    exposure_time text not null,
    aperture      text not null,
    date_taken    text not null,            -- by the camera with colons, else the change time with dashes
    create_time   text not null,            -- ctime text of the change time, line feed included
    resolution_x  integer not null,         -- pixels
    resolution_y  integer not null,
    iso           integer not null,
    filesize      integer not null,         -- bytes
    updated       integer not null          -- 1: seen since the last resynchronisation began
) without rowid;

-- The order of the columns is part of the daemon's insert, which gives all ten values. Booleans are kept as 't' and
-- 'f', whatever they are written as.
create table photo_share (
    shareid     integer primary key,
    sharename   text not null unique,       -- "Trips" or "Trips/Rome"
    title       text not null,              -- like description, hits and visible: for the gallery, not used here
    description text not null,
    public      boolean not null,
    hits        integer not null,
    cover       text not null,              -- path of the picture that stands for the album
    visible     boolean not null,
    is_subdir   boolean not null,
    updated     text not null               -- '1': seen since the last resynchronisation began
);

create trigger photo_share_inserted after insert on photo_share
begin
    update photo_share
        set public = case when lower(public) in ('t', 'true', '1', 'y', 'yes', 'on') then 't' else 'f' end,
            visible = case when lower(visible) in ('t', 'true', '1', 'y', 'yes', 'on') then 't' else 'f' end,
            is_subdir = case when lower(is_subdir) in ('t', 'true', '1', 'y', 'yes', 'on') then 't' else 'f' end
        where shareid = new.shareid;
end;

create trigger photo_share_updated after update of public, visible, is_subdir on photo_share
begin
    update photo_share
        set public = case when lower(public) in ('t', 'true', '1', 'y', 'yes', 'on') then 't' else 'f' end,
            visible = case when lower(visible) in ('t', 'true', '1', 'y', 'yes', 'on') then 't' else 'f' end,
            is_subdir = case when lower(is_subdir) in ('t', 'true', '1', 'y', 'yes', 'on') then 't' else 'f' end
        where shareid = new.shareid;
end;

-- The folder at its new place may have been taken for a new album before its rename was told. The album that comes
-- keeps its id, its cover and its rights, and takes the place of that one.
create trigger photo_share_renamed before update of sharename on photo_share when new.sharename <> old.sharename
begin
    delete from photo_share where sharename = new.sharename;
end;

-- Ids are given again, and whoever was let into an album must not be let into the next one with its number.
create trigger photo_share_deleted after delete on photo_share
begin
    delete from photo_access_right where shareid = old.shareid;
end;

create table photo_access_right (
    userid      integer not null,
    shareid     integer not null,
    create_time text not null,
    primary key (shareid, userid)
);

create table video_desc (
    id          integer primary key,
    path        text not null,
    title       text,
    description text
);
create index video_desc_path on video_desc (path);

create table video_comment (
    id          integer primary key,
    path        text not null,
    name        text,
    email       text,
    comment     text,
    create_time text
);
create index video_comment_path on video_comment (path);
