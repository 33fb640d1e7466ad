-- The media database of a box: the schema of its name with "_media" behind it. The four media tables are alike: one row
-- per file, columns named like the record's fields. Texts are UTF-8; a zero number and an empty text mean "unknown".
-- Paths are bytes as they stand in the request, up to 4095 of them, and more than an entry of an index may hold: the
-- key is a path's first 1000 bytes and a hash of the rest. Whoever looks for a path by himself compares path_head too.

create table music (
    path              bytea not null,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text collate "C" not null,
    album             text collate "C" not null,
    artist            text collate "C" not null,
    genre             text collate "C" not null,
    composer          text collate "C" not null,
    comment           text collate "C" not null,
    camera_make       text collate "C" not null,
    camera_model      text collate "C" not null,
    exposure_time     text collate "C" not null,
    aperture          text collate "C" not null,
    date_taken        text collate "C" not null,
    create_time       text collate "C" not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text collate "C" not null,
    duration          double precision not null,             -- seconds
    bitrate           bigint not null,          -- bit/s
    container_bitrate bigint not null,
    frequency         bigint not null,          -- Hz
    channels          bigint not null,
    resolution_x      bigint not null,          -- pixels
    resolution_y      bigint not null,
    filesize          bigint not null,          -- bytes
    cover_count       bigint not null,
    iso               bigint not null,
    path_head         bytea not null generated always as (substr(path, 1, 1000)) stored,
    path_tail         bytea not null generated always as (sha256(substr(path, 1001))) stored,
    primary key (path_head, path_tail)
);

create table video (
    path              bytea not null,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text collate "C" not null,
    album             text collate "C" not null,
    artist            text collate "C" not null,
    genre             text collate "C" not null,
    composer          text collate "C" not null,
    comment           text collate "C" not null,
    camera_make       text collate "C" not null,
    camera_model      text collate "C" not null,
    exposure_time     text collate "C" not null,
    aperture          text collate "C" not null,
    date_taken        text collate "C" not null,
    create_time       text collate "C" not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text collate "C" not null,
    duration          double precision not null,             -- seconds
    bitrate           bigint not null,          -- bit/s
    container_bitrate bigint not null,
    frequency         bigint not null,          -- Hz
    channels          bigint not null,
    resolution_x      bigint not null,          -- pixels
    resolution_y      bigint not null,
    filesize          bigint not null,          -- bytes
    cover_count       bigint not null,
    iso               bigint not null,
    seen              text collate "C" not null default '0',  -- '1': seen by a resynchronisation of the photo share
    path_head         bytea not null generated always as (substr(path, 1, 1000)) stored,
    path_tail         bytea not null generated always as (sha256(substr(path, 1001))) stored,
    primary key (path_head, path_tail)
);

create table photo (
    path              bytea not null,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text collate "C" not null,
    album             text collate "C" not null,
    artist            text collate "C" not null,
    genre             text collate "C" not null,
    composer          text collate "C" not null,
    comment           text collate "C" not null,
    camera_make       text collate "C" not null,
    camera_model      text collate "C" not null,
    exposure_time     text collate "C" not null,
    aperture          text collate "C" not null,
    date_taken        text collate "C" not null,
    create_time       text collate "C" not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text collate "C" not null,
    duration          double precision not null,             -- seconds
    bitrate           bigint not null,          -- bit/s
    container_bitrate bigint not null,
    frequency         bigint not null,          -- Hz
    channels          bigint not null,
    resolution_x      bigint not null,          -- pixels
    resolution_y      bigint not null,
    filesize          bigint not null,          -- bytes
    cover_count       bigint not null,
    iso               bigint not null,
    path_head         bytea not null generated always as (substr(path, 1, 1000)) stored,
    path_tail         bytea not null generated always as (sha256(substr(path, 1001))) stored,
    primary key (path_head, path_tail)
);

create table playlist (
    path              bytea not null,
    track             integer not null,
    disc              integer not null,
    year              integer not null,
    title             text collate "C" not null,
    album             text collate "C" not null,
    artist            text collate "C" not null,
    genre             text collate "C" not null,
    composer          text collate "C" not null,
    comment           text collate "C" not null,
    camera_make       text collate "C" not null,
    camera_model      text collate "C" not null,
    exposure_time     text collate "C" not null,
    aperture          text collate "C" not null,
    date_taken        text collate "C" not null,
    create_time       text collate "C" not null,             -- YYYY-MM-DD HH:MM:SS, local time: the file's change time
    modify_time       text collate "C" not null,
    duration          double precision not null,             -- seconds
    bitrate           bigint not null,          -- bit/s
    container_bitrate bigint not null,
    frequency         bigint not null,          -- Hz
    channels          bigint not null,
    resolution_x      bigint not null,          -- pixels
    resolution_y      bigint not null,
    filesize          bigint not null,          -- bytes
    cover_count       bigint not null,
    iso               bigint not null,
    path_head         bytea not null generated always as (substr(path, 1, 1000)) stored,
    path_tail         bytea not null generated always as (sha256(substr(path, 1001))) stored,
    primary key (path_head, path_tail)
);

create table directory (
    path              bytea not null,
    path_head         bytea not null generated always as (substr(path, 1, 1000)) stored,
    path_tail         bytea not null generated always as (sha256(substr(path, 1001))) stored,
    primary key (path_head, path_tail)
);

-- A path as people read it: bytes that are no UTF-8 show as \ooo.
create function path_text(path bytea) returns text language plpgsql immutable strict as $$
begin
    return convert_from(path, 'UTF8');
exception when others then
    return encode(path, 'escape');
end
$$;

-- The bytes of the character at an offset: 1 unless a whole UTF-8 sequence stands there.
create function character_size(value bytea, at integer) returns integer language plpgsql immutable strict as $$
declare
    lead integer := get_byte(value, at);
    size integer := case when lead between 240 and 247 then 4 when lead between 224 and 239 then 3
                         when lead between 194 and 223 then 2 else 1 end;
begin
    if at + size > length(value) then
        return 1;
    end if;
    for i in 1 .. size - 1 loop
        if get_byte(value, at + i) not between 128 and 191 then
            return 1;
        end if;
    end loop;
    return size;
end
$$;

-- `like` where "_" is any character: a UTF-8 sequence, or a byte that belongs to none. Clean texts, nearly all, are left
-- to the server; the loop is for the others.
create function like_characters(value bytea, pattern bytea) returns boolean language plpgsql immutable strict as $$
declare
    p integer := 0;
    t integer := 0;
    retry_p integer := -1;  -- behind the last "%"
    retry_t integer := 0;
    step integer;           -- bytes of the value that match the next item of the pattern
    item integer;
begin
    begin
        return convert_from(value, 'UTF8') collate "C" like convert_from(pattern, 'UTF8');
    exception when character_not_in_repertoire then
        value := value || ''::bytea;  -- unpacked, once
    end;
    loop
        if p < length(pattern) and get_byte(pattern, p) = ascii('%') then
            p := p + 1;
            retry_p := p;
            retry_t := t;
            continue;
        end if;
        if p = length(pattern) and t = length(value) then
            return true;
        end if;
        step := 0;
        item := 1;
        if p < length(pattern) and t < length(value) then
            if get_byte(pattern, p) = ascii('_') then
                step := character_size(value, t);
            else
                if get_byte(pattern, p) = ascii('\') and p + 1 < length(pattern) then
                    item := 2;
                end if;
                step := case when get_byte(pattern, p + item - 1) = get_byte(value, t) then 1 else 0 end;
            end if;
        end if;
        if step > 0 then
            p := p + item;
            t := t + step;
        elsif retry_p >= 0 and retry_t < length(value) then
            p := retry_p;
            retry_t := retry_t + character_size(value, retry_t);
            t := retry_t;
        else
            return false;
        end if;
    end loop;
end
$$;
create function like_characters(value text, pattern text) returns boolean
    language sql immutable strict as $$ select value like pattern $$;

-- The tables for reading, with paths as texts.
create view music_text as
    select path_text(path) as path, track, disc, year, title, album, artist, genre, composer, comment,
        camera_make, camera_model, exposure_time, aperture, date_taken, create_time, modify_time, duration,
        bitrate, container_bitrate, frequency, channels, resolution_x, resolution_y, filesize, cover_count, iso
    from music;
create view video_text as
    select path_text(path) as path, track, disc, year, title, album, artist, genre, composer, comment,
        camera_make, camera_model, exposure_time, aperture, date_taken, create_time, modify_time, duration,
        bitrate, container_bitrate, frequency, channels, resolution_x, resolution_y, filesize, cover_count, iso
    from video;
create view photo_text as
    select path_text(path) as path, track, disc, year, title, album, artist, genre, composer, comment,
        camera_make, camera_model, exposure_time, aperture, date_taken, create_time, modify_time, duration,
        bitrate, container_bitrate, frequency, channels, resolution_x, resolution_y, filesize, cover_count, iso
    from photo;
create view playlist_text as
    select path_text(path) as path, track, disc, year, title, album, artist, genre, composer, comment,
        camera_make, camera_model, exposure_time, aperture, date_taken, create_time, modify_time, duration,
        bitrate, container_bitrate, frequency, channels, resolution_x, resolution_y, filesize, cover_count, iso
    from playlist;
create view directory_text as select path_text(path) as path from directory;
