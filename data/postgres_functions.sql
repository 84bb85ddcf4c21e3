-- What a server site needs beyond PostgreSQL's own: the column types the dialect has and the
-- server lacks, and the functions that work out the dialect's operators and conversions exactly
-- as the language does. Installed into the site's schema; running it again replaces the
-- functions and keeps the types. Errors carry SQLSTATE "J" and the dialect's number.

DO $$
BEGIN
    IF to_regtype('jet_byte') IS NULL THEN
        CREATE DOMAIN jet_byte AS smallint CHECK (VALUE BETWEEN 0 AND 255);
    END IF;
    IF to_regtype('jet_currency') IS NULL THEN
        CREATE DOMAIN jet_currency AS numeric(19, 4);
    END IF;
END
$$;

-- A moment as the dialect's serial: days since 1899-12-30, the fraction the time of day, which
-- before that day counts away from zero.
CREATE OR REPLACE FUNCTION jet_serial(t timestamp) RETURNS double precision
LANGUAGE sql IMMUTABLE STRICT PARALLEL SAFE AS $$
    -- The day and the time of day joined as the language joins them, so the sum rounds alike.
    SELECT CASE WHEN day >= 0 THEN day + time ELSE day - time END
    FROM (SELECT CAST(CAST(t AS date) - DATE '1899-12-30' AS double precision) AS day,
                 CAST(extract(epoch FROM t - date_trunc('day', t)) AS double precision)
                     / 86400 AS time) AS parts
$$;

CREATE OR REPLACE FUNCTION jet_date(serial double precision) RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
DECLARE
    linear double precision := CASE WHEN serial >= 0 THEN serial
                                    ELSE 2 * trunc(serial) - serial END;
BEGIN
    -- The dialect's dates run from the year 100 to 9999.
    IF serial < -657434 OR serial >= 2958466 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0006', MESSAGE = 'Overflow';
    END IF;
    RETURN TIMESTAMP '1899-12-30' + make_interval(secs => linear * 86400);
END
$$;

CREATE OR REPLACE FUNCTION jet_div(a double precision, b double precision)
RETURNS double precision LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF b = 0 THEN
        IF a = 0 THEN
            RAISE EXCEPTION USING ERRCODE = 'J0006', MESSAGE = 'Overflow';
        END IF;
        RAISE EXCEPTION USING ERRCODE = 'J0011', MESSAGE = 'Division by zero';
    END IF;
    RETURN a / b;
END
$$;

-- CLng: half to even, and within a Long.
CREATE OR REPLACE FUNCTION jet_whole(a double precision) RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF round(a) < -2147483648 OR round(a) > 2147483647 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0006', MESSAGE = 'Overflow';
    END IF;
    RETURN CAST(round(a) AS bigint);
END
$$;

CREATE OR REPLACE FUNCTION jet_intdiv(a double precision, b double precision) RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF jet_whole(b) = 0 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0011', MESSAGE = 'Division by zero';
    END IF;
    RETURN jet_whole(a) / jet_whole(b);
END
$$;

CREATE OR REPLACE FUNCTION jet_mod(a double precision, b double precision) RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF jet_whole(b) = 0 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0011', MESSAGE = 'Division by zero';
    END IF;
    RETURN jet_whole(a) % jet_whole(b);
END
$$;

CREATE OR REPLACE FUNCTION jet_pow(a double precision, b double precision)
RETURNS double precision LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF a < 0 AND b <> trunc(b) THEN
        RAISE EXCEPTION USING ERRCODE = 'J0005', MESSAGE = 'Invalid procedure call or argument';
    END IF;
    IF a = 0 AND b < 0 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0011', MESSAGE = 'Division by zero';
    END IF;
    RETURN power(a, b);
EXCEPTION WHEN numeric_value_out_of_range THEN
    RAISE EXCEPTION USING ERRCODE = 'J0006', MESSAGE = 'Overflow';
END
$$;

CREATE OR REPLACE FUNCTION jet_to_byte(a double precision) RETURNS smallint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF a < 0 OR a > 255 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0006', MESSAGE = 'Overflow';
    END IF;
    RETURN CAST(a AS smallint);
END
$$;

-- CCur: to the ten-thousandth, half to even.
CREATE OR REPLACE FUNCTION jet_to_currency(a double precision) RETURNS numeric
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
BEGIN
    IF abs(a) >= 922337203685477.5808 THEN
        RAISE EXCEPTION USING ERRCODE = 'J0006', MESSAGE = 'Overflow';
    END IF;
    RETURN CAST(round(a * 10000) AS numeric) / 10000;
END
$$;

-- The "$" form of a function whose Null raises.
CREATE OR REPLACE FUNCTION jet_dollar(a anyelement) RETURNS anyelement
LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    IF a IS NULL THEN
        RAISE EXCEPTION USING ERRCODE = 'J0094', MESSAGE = 'Invalid use of Null';
    END IF;
    RETURN a;
END
$$;

-- A character as itself in a regular expression: letters, digits and blanks stand for themselves
-- (a backslash before them would make an escape), anything else is escaped.
CREATE OR REPLACE FUNCTION jet_regex_char(c text) RETURNS text
LANGUAGE sql IMMUTABLE STRICT PARALLEL SAFE AS $$
    SELECT CASE WHEN c ~ '^[[:alnum:][:space:]]$' THEN c ELSE '\' || c END
$$;

-- A Like pattern with the ANSI wildcards as a regular expression over lower-case text:
-- % any run, _ one character, [set] and [!set] one character of or outside a set; a [ without
-- its ] is itself and [] stands for nothing. A range written backwards raises 93.
CREATE OR REPLACE FUNCTION jet_like_regex(pattern text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
DECLARE
    result text := '^';
    i int := 1;
    n int := length(pattern);
    c text;
    close int;
    body text;
    k int;
    class text;
BEGIN
    WHILE i <= n LOOP
        c := substr(pattern, i, 1);
        IF c = '%' THEN
            result := result || '.*';
        ELSIF c = '_' THEN
            result := result || '.';
        ELSIF c = '[' AND strpos(substr(pattern, i + 1), ']') > 0 THEN
            close := strpos(substr(pattern, i + 1), ']');
            body := substr(pattern, i + 1, close - 1);
            i := i + close;
            IF body <> '' THEN
                class := '[';
                IF left(body, 1) = '!' THEN
                    class := '[^';
                    body := substr(body, 2);
                END IF;
                k := 1;
                WHILE k <= length(body) LOOP
                    IF k + 2 <= length(body) AND substr(body, k + 1, 1) = '-' THEN
                        IF substr(body, k + 2, 1) < substr(body, k, 1) COLLATE "C" THEN
                            RAISE EXCEPTION USING ERRCODE = 'J0093',
                                MESSAGE = 'Invalid pattern string';
                        END IF;
                        class := class || jet_regex_char(substr(body, k, 1)) || '-'
                                 || jet_regex_char(substr(body, k + 2, 1));
                        k := k + 3;
                    ELSE
                        class := class || jet_regex_char(substr(body, k, 1));
                        k := k + 1;
                    END IF;
                END LOOP;
                result := result || class || ']';
            END IF;
        ELSE
            result := result || jet_regex_char(c);
        END IF;
        i := i + 1;
    END LOOP;
    RETURN result || '$';
END
$$;

CREATE OR REPLACE FUNCTION jet_like(t text, pattern text) RETURNS boolean
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT lower(t) ~ jet_like_regex(lower(pattern))
$$;

-- First and Last: the group's first or last row, Null or not.
CREATE OR REPLACE FUNCTION jet_first_step(state anyarray, v anyelement) RETURNS anyarray
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN state IS NULL THEN ARRAY[v] ELSE state END
$$;

CREATE OR REPLACE FUNCTION jet_last_step(state anyarray, v anyelement) RETURNS anyarray
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT ARRAY[v]
$$;

CREATE OR REPLACE FUNCTION jet_held(state anyarray, v anyelement) RETURNS anyelement
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT state[1]
$$;

CREATE OR REPLACE AGGREGATE jet_first(anyelement) (
    SFUNC = jet_first_step, STYPE = anyarray, FINALFUNC = jet_held, FINALFUNC_EXTRA
);

CREATE OR REPLACE AGGREGATE jet_last(anyelement) (
    SFUNC = jet_last_step, STYPE = anyarray, FINALFUNC = jet_held, FINALFUNC_EXTRA
);

-- StDev, Var, StDevP and VarP by Welford's running update, step for step as the file engine
-- computes them, so that values far from their spread (moments) give the same digits.
CREATE OR REPLACE FUNCTION jet_spread_step(s double precision[], x double precision)
RETURNS double precision[] LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
DECLARE
    n double precision;
    delta double precision;
    mean double precision;
BEGIN
    IF x IS NULL THEN
        RETURN s;
    END IF;
    n := s[1] + 1;
    delta := x - s[2];
    mean := s[2] + delta / n;
    RETURN ARRAY[n, mean, s[3] + delta * (x - mean)];
END
$$;

-- A sample's spread is Null below two values, a population's without values.
CREATE OR REPLACE FUNCTION jet_variance(s double precision[], sample boolean)
RETURNS double precision LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN s[1] - CASE WHEN sample THEN 1 ELSE 0 END < 1 THEN NULL
                ELSE s[3] / (s[1] - CASE WHEN sample THEN 1 ELSE 0 END) END
$$;

CREATE OR REPLACE FUNCTION jet_var_final(s double precision[]) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$ SELECT jet_variance(s, true) $$;
CREATE OR REPLACE FUNCTION jet_varp_final(s double precision[]) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$ SELECT jet_variance(s, false) $$;
CREATE OR REPLACE FUNCTION jet_stdev_final(s double precision[]) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$ SELECT sqrt(jet_variance(s, true)) $$;
CREATE OR REPLACE FUNCTION jet_stdevp_final(s double precision[]) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$ SELECT sqrt(jet_variance(s, false)) $$;

DO $$
DECLARE
    kind text;
BEGIN
    FOREACH kind IN ARRAY ARRAY['var', 'varp', 'stdev', 'stdevp'] LOOP
        EXECUTE format('CREATE OR REPLACE AGGREGATE jet_%1$s(double precision) ('
                       'SFUNC = jet_spread_step, STYPE = double precision[], '
                       'INITCOND = ''{0,0,0}'', FINALFUNC = jet_%1$s_final)', kind);
    END LOOP;
END
$$;

-- IIf works out both choices before it picks one, as the language does, so a choice that fails
-- fails the call even where it is not taken.
CREATE OR REPLACE FUNCTION jet_iif(c boolean, a anycompatible, b anycompatible)
RETURNS anycompatible LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    IF c THEN
        RETURN a;
    END IF;
    RETURN b;
END
$$;
