-- Table fingers: 001_1 to 006_2 in all formats, as `vxm synth` makes them.
\pset format unaligned
\pset tuples_only
CREATE FUNCTION finger(text) RETURNS bytea LANGUAGE sql STABLE
AS 'SELECT template FROM fingers WHERE id = $1';
\set probe 'finger(''001_1.vxt'')'
\set same 'finger(''001_2.vxt'')'
\set iso 'finger(''001_1.iso'')'
\set same_iso 'finger(''001_2.iso'')'
\set ansi 'finger(''001_1.ansi'')'
-- An ISO record with all its minutiae, but longer than its bytes by its own account.
\set broken 'set_byte(finger(''001_2.iso''), 10, 4)'

-- Answers.
SELECT vxm_version() ~ '^VXMKIT_v3\.';
SELECT a.id, b.id, vxm_score(a.template, b.template), vxm_verify(a.template, b.template) AS verified,
  vxm_matches(a.template, b.template) AS matches
FROM fingers a JOIN fingers b ON split_part(a.id, '.', 2) = split_part(b.id, '.', 2)
WHERE a.id LIKE '001_1%' AND b.id ~ '^00[12]_2' ORDER BY 1, 2;
SELECT id, (vxm_info(template)).* FROM fingers WHERE id LIKE '001_1%' ORDER BY 1;

-- A probe gives the same answers whatever was asked before it.
CREATE TABLE answers AS SELECT a.id AS probe, b.id AS candidate,
  vxm_matches(a.template, b.template) AS matches FROM fingers a, fingers b;
SELECT count(*), count(*) FILTER (WHERE matches),
  count(*) FILTER (WHERE matches <> vxm_matches(finger(probe), finger(candidate)))
FROM (SELECT * FROM answers ORDER BY candidate, md5(probe)) AS mixed;

-- The batches find what the predicate finds, in workers, too.
SET max_parallel_workers_per_gather = 2;
SET parallel_setup_cost = 0;
SET parallel_tuple_cost = 0;
SET min_parallel_table_scan_size = 0;
CREATE VIEW found AS SELECT a.id, array(SELECT unnest(vxm_search(a.template, b.id, b.template))
  ORDER BY 1) AS ids FROM fingers a, fingers b GROUP BY a.id;
SELECT count(*) FILTER (WHERE cardinality(ids) > 0), sum(cardinality(ids)), count(*) FILTER (WHERE ids <>
  array(SELECT candidate FROM answers WHERE matches AND probe = id ORDER BY 1))
FROM found;
-- So they do where each row of a join begins a search.
SELECT count(*) FROM found JOIN fingers p USING (id), LATERAL (SELECT
  vxm_search(p.template, c.id, c.template) AS again FROM fingers c) AS searches
WHERE array(SELECT unnest(again) ORDER BY 1) = ids;
CREATE TABLE many AS SELECT n || f.id AS id, template FROM fingers f, generate_series(100, 199) n;
ANALYZE many;
PREPARE search(bytea) AS SELECT vxm_search($1, id, template, 4, false, true) FROM many;
EXPLAIN (COSTS OFF) EXECUTE search('\x00');
SELECT count(*), min(id), max(id) FROM
  (SELECT unnest(vxm_search(:iso, id, template, 4, false, true)) AS id FROM many) AS found;
SELECT vxm_search(:iso, id, CASE WHEN id LIKE '%.iso' THEN :broken ELSE template END) FROM fingers;
SELECT vxm_search(p.template, c.id, c.template) FROM fingers c, fingers p
WHERE p.id LIKE '002_1%' AND c.id LIKE '002_2%';
SELECT vxm_search_report(:iso, id, CASE WHEN id LIKE '%.iso' THEN :broken ELSE template END)
FROM fingers;

-- The best: as sorting all scores gives them, ties by the id's bytes, in workers, too.
SELECT finger('001_1.iso') AS bytes \gset
EXPLAIN (COSTS OFF) SELECT vxm_best(:'bytes', id, template, 150) FROM many;
SELECT best = (SELECT array_agg(candidate) FROM
    (SELECT ROW(id, score)::vxm_candidate AS candidate FROM
      (SELECT id, vxm_score(:'bytes', template) AS score FROM many WHERE id LIKE '%.iso') AS scores
    ORDER BY score DESC, id COLLATE "C" LIMIT 150) AS ranked) AS equal,
  best[100], best[101], best[150], compared, faulty, other_format
FROM (SELECT (vxm_best_report(:'bytes', id, template, 150)).* FROM many) AS found;
SELECT vxm_best(:iso, length(id), template, 3, 4), vxm_best(:iso, id, template, 3, 7) FROM fingers;
SELECT vxm_best_report(:iso, id, CASE WHEN id LIKE '%.iso' THEN :broken ELSE template END, 3)
FROM fingers;

-- Nothing to compare is not "nobody".
SELECT vxm_search('no template', id, template), vxm_best(:probe, id, template, 3)
FROM fingers WHERE id = 'none';
SELECT vxm_search_report(NULL, id, template), vxm_best_report(:probe, id, template, 3)
FROM fingers WHERE id = 'none';

-- A turned probe, for which only the retry finds anything: from the library's own
-- turn of 001_1.vxt.
SELECT vxm_score(turned, same), vxm_verify(turned, same), vxm_verify(turned, same, 4, true),
  vxm_matches(turned, same), vxm_matches(turned, same, 4, true),
  vxm_matches(turned, same, retry_turned => true, fast => false)
FROM (SELECT finger('turned.vxt') AS turned, finger('001_2.vxt') AS same) t;

-- One call site with probes, levels and other functions in turn.
SELECT level, vxm_matches(p.template, finger('003_2.vxt'), level) AS matches,
  vxm_score(p.template, finger('003_2.vxt')) AS score
FROM (VALUES ('003_1.vxt'), ('004_1.vxt')) v (id) JOIN fingers p USING (id),
  generate_series(1, 7, 3) AS level ORDER BY v.id, level;

-- Null in, null out, but for probes and settings of a search (see the errors).
SELECT vxm_score(NULL, :probe) IS NULL, vxm_verify(:probe, NULL) IS NULL,
  vxm_matches(:probe, NULL) IS NULL, vxm_matches_fully(:probe, NULL) IS NULL,
  vxm_valid(NULL) IS NULL, vxm_info(NULL) IS NULL;

-- What is no template does not match, and is told by vxm_valid and vxm_info.
SELECT name, vxm_valid(bytes), vxm_info(bytes) IS NULL AS unknown,
  vxm_matches(:probe, bytes) AS native, vxm_matches(:iso, bytes) AS iso
FROM (VALUES ('empty', ''::bytea), ('text', 'no template'), ('header', '\x4501818109005658'),
  ('FMR', 'FMR'::bytea || '\x00'), ('cut', substr(:probe, 1, 600)), ('broken', :broken),
  ('zeros', decode(repeat('00', 65535), 'hex')), ('huge', decode(repeat('00', 3000000), 'hex')))
  t (name, bytes);

-- Records of other forms: told, no templates, and back from each the same comparison.
SELECT form, vxm_form(record) AS told, length(record) AS size, vxm_valid(record) AS valid,
  vxm_score(:same_iso, vxm_convert(record, 'iso-2005')) = vxm_score(:same_iso, :iso) AS equal
FROM unnest(ARRAY['ansi-2009', 'ANSI-2009/AM1', 'ISO:2011', 'iso-2005']) AS form,
  vxm_convert(:iso, form) AS record;
SELECT * FROM vxm_convert_report('\x464d520020323000000000290000012c019000c500c501000000000140'
  '0a0014413c0005014400054d', 'ansi-2004', 394);
SELECT length(vxm_convert(:iso, 'iso-card')) / 5 = (vxm_info(:iso)).minutiae, vxm_form('no record'), vxm_form(:probe), vxm_form(''), vxm_convert(NULL, 'xyt');

-- Errors, each with its code.
CREATE FUNCTION error_of(call text) RETURNS text LANGUAGE plpgsql AS $$
DECLARE detail text;
BEGIN
  EXECUTE 'SELECT ' || call;
  RETURN 'none';
EXCEPTION WHEN OTHERS THEN
  GET STACKED DIAGNOSTICS detail = PG_EXCEPTION_DETAIL;
  RETURN concat_ws(': ', SQLSTATE, SQLERRM, nullif(detail, ''));
END $$;
CREATE TABLE broken AS SELECT :broken AS template, decode(repeat('00', 3000000), 'hex') AS huge;
SELECT call, error_of(call) FROM unnest(ARRAY[
  $$vxm_score(finger('001_1.vxt'), finger('001_1.iso'))$$,
  $$vxm_verify(finger('001_1.ansi'), finger('001_1.iso'))$$,
  $$vxm_score('', finger('001_1.iso'))$$,
  $$vxm_verify(finger('001_1.iso'), template) FROM broken$$,
  $$vxm_score(finger('001_1.iso'), huge) FROM broken$$,
  $$count(*) FROM fingers WHERE vxm_matches('no template', template)$$,
  $$vxm_matches(template, finger('001_1.iso')) FROM broken$$,
  $$vxm_search('no template', id, template) FROM many$$,
  $$vxm_matches(finger('001_1.vxt'), finger('001_1.vxt'), 0)$$,
  $$vxm_verify(finger('001_1.vxt'), finger('001_1.vxt'), 8)$$,
  $$vxm_matches(NULL, template) FROM fingers$$,
  $$vxm_matches(finger('001_1.vxt'), template, fast => NULL) FROM fingers$$,
  $$vxm_matches_fully(finger('001_1.vxt'), template, NULL) FROM fingers$$,
  $$vxm_verify(NULL, template) FROM fingers$$,
  $$vxm_search(NULL, id, template) FROM many$$,
  $$vxm_search(finger('001_1.iso'), id, template) FROM many WHERE id LIKE '%.vxt'$$,
  $$vxm_search(finger('001_1.iso'), 'x', 'no template') FROM many$$,
  $$vxm_best(NULL, id, template, 3) FROM many$$,
  $$vxm_best(finger('001_1.iso'), id, template, NULL) FROM many$$,
  $$vxm_best(finger('001_1.iso'), id, template, 0) FROM many$$,
  $$vxm_best(finger('001_1.iso'), id, '', length(id)) FROM (VALUES ('a'), ('bc')) AS f (id)$$,
  $$vxm_best(finger('001_1.iso'), id, template, 3) FROM many WHERE id LIKE '%.vxt'$$,
  $$vxm_score(finger('001_1.iso'), vxm_convert(finger('001_1.iso'), 'iso-2011'))$$,
  $$vxm_search(vxm_convert(finger('001_1.ansi'), 'ansi-2009'), id, template) FROM many$$,
  $$vxm_verify(overlay(finger('001_1.iso') PLACING ' 10' FROM 5), finger('001_1.iso'))$$,
  $$vxm_convert(finger('001_1.vxt'), 'iso-2005')$$,
  $$vxm_convert(finger('001_1.iso'), 'native')$$,
  $$vxm_convert(finger('001_1.iso'), 'iso-2011', -1)$$,
  $$vxm_convert(finger('001_1.iso'), 'iso-2011', view => 2)$$,
  $$vxm_convert(substr(finger('001_1.iso'), 1, 100), 'iso-2011')$$]) AS call;

-- The predicates: the full one finds what verification does.
SELECT count(*), count(*) FILTER (WHERE vxm_matches_fully(:iso, template)),
  count(*) FILTER (WHERE id LIKE '%.iso' AND vxm_verify(:iso, template)) FROM fingers;

-- Plans: workers take the predicate, and it is asked after what is cheaper.
EXPLAIN (COSTS OFF) SELECT id FROM fingers
WHERE vxm_score('\x00', template) > 0.5 AND vxm_matches('\x00', template) AND vxm_valid(template)
  AND note = 'enrolled';
-- What the planner knows: hardly a row matches, so joins start there; a row costs what its
-- comparison does.
CREATE TABLE people AS SELECT id, 'name' AS name FROM many;
CREATE INDEX ON people (id);
ANALYZE people;
EXPLAIN (COSTS OFF) SELECT name FROM many JOIN people USING (id) WHERE vxm_matches('\x00', template);
CREATE FUNCTION planned(condition text, OUT rows integer, OUT cost float) LANGUAGE plpgsql AS $$
DECLARE plan jsonb;
BEGIN
  EXECUTE 'EXPLAIN (FORMAT JSON) SELECT 1 FROM many WHERE ' || condition INTO plan;
  rows := plan #> '{0,Plan,Plan Rows}';
  cost := plan #> '{0,Plan,Total Cost}';
END $$;
SELECT regexp_replace(condition, '''\\.*''', ':probe'), rows FROM unnest(ARRAY['vxm_valid(template)', 'vxm_matches(''FMR'', template)',
  format('vxm_matches(%L, template)', :probe), 'vxm_matches(''FMR'', template, 4, true)',
  'vxm_matches_fully(''FMR'', template)', 'vxm_matches(''FMR'', template, fast => false)'])
  AS c (condition), planned(condition) ORDER BY cost;
SELECT proname, provolatile, proisstrict, proparallel FROM pg_proc
WHERE proname LIKE 'vxm\_%' AND proname !~ 'search|best|support' ORDER BY 1;

-- An upgrade keeps what depends on the functions.
ALTER EXTENSION vxmkit UPDATE TO 'test';
SELECT vxm_test();
SELECT extversion FROM pg_extension WHERE extname = 'vxmkit';
\set VERBOSITY sqlstate
INSERT INTO fingers VALUES ('bad', 'no template');
