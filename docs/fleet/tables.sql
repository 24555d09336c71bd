-- SPDX-License-Identifier: GPL-2.0-only
-- Tables of the results of "gponflow check" for many lines: sqlite3 fleet.db < docs/fleet/tables.sql
-- reads findings.jsonl in the current folder.

DROP TABLE IF EXISTS document;
CREATE TABLE document (text TEXT);
-- One column: no document contains the separator.
.mode ascii
.separator "\037" "\n"
.import findings.jsonl document

DROP TABLE IF EXISTS line;
CREATE TABLE line AS
SELECT text ->> '$.input'           AS input,
       text ->> '$.status'          AS status,
       text ->> '$.origin.serial'   AS serial,
       text ->> '$.origin.equipment' AS equipment,
       text ->> '$.origin.firmware' AS firmware,
       text ->> '$.origin.from'     AS captured,
       text ->> '$.messages[0].message' AS message
FROM document;

DROP TABLE IF EXISTS finding;
CREATE TABLE finding AS
SELECT text ->> '$.input'  AS input,
       value ->> '$.kind'  AS rule,
       value ->> '$.weight' AS weight,
       value ->> '$.class' AS class,
       value ->> '$.instance' AS instance,
       value ->> '$.reason' AS reason
FROM document, json_each(text, '$.document.findings');

CREATE INDEX finding_input ON finding (input);
CREATE INDEX line_input ON line (input);
DROP TABLE document;
