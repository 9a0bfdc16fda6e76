-- What follows the rows of sms.sql. The triggers keep columns that the rows already have filled.
CREATE INDEX message_idx_failed ON message (is_finished, is_from_me, error);
CREATE INDEX message_idx_handle ON message (handle_id, date);
CREATE INDEX message_idx_is_read ON message (is_read, is_from_me, is_finished);
CREATE INDEX message_idx_isRead_isFromMe_itemType ON message (is_read, is_from_me, item_type);
CREATE INDEX message_idx_was_downgraded ON message (was_downgraded);
CREATE INDEX message_idx_expire_state ON message (expire_state);
CREATE INDEX message_idx_other_handle ON message (other_handle);
CREATE INDEX message_idx_handle_id ON message (handle_id);
CREATE INDEX message_idx_cache_has_attachments ON message (cache_has_attachments);
CREATE INDEX message_idx_associated_message ON message (associated_message_guid);
CREATE INDEX chat_idx_chat_identifier ON chat (chat_identifier);
CREATE INDEX chat_idx_chat_identifier_service_name ON chat (chat_identifier, service_name);
CREATE INDEX chat_idx_chat_room_name_service_name ON chat (room_name, service_name);
CREATE INDEX chat_idx_is_archived ON chat (is_archived);
CREATE INDEX chat_handle_join_idx_handle_id ON chat_handle_join (handle_id);
CREATE INDEX chat_message_join_idx_chat_id ON chat_message_join (chat_id);
CREATE INDEX chat_message_join_idx_message_id_only ON chat_message_join (message_id);
CREATE INDEX chat_message_join_idx_message_date_id_chat_id ON chat_message_join (chat_id, message_date, message_id);
CREATE INDEX message_attachment_join_idx_message_id ON message_attachment_join (message_id);
CREATE INDEX message_attachment_join_idx_attachment_id ON message_attachment_join (attachment_id);
CREATE INDEX message_processing_task_idx_guid_task_flags ON message_processing_task (guid, task_flags);
CREATE INDEX message_idx_date ON message (date);
CREATE INDEX message_idx_is_sent_is_from_me_error ON message (is_sent, is_from_me, error);
CREATE INDEX message_idx_undelivered_one_to_one_imessage ON message (cache_roomnames, service, is_sent, is_delivered, was_downgraded, item_type) WHERE cache_roomnames IS NULL AND service = 'iMessage' AND is_sent = 1 AND is_delivered = 0 AND was_downgraded = 0 AND item_type == 0;
CREATE INDEX message_idx_thread_originator_guid ON message (thread_originator_guid);
CREATE INDEX chat_idx_group_id ON chat (group_id);
CREATE INDEX attachment_idx_purged_attachments_v2 ON attachment (hide_attachment, ck_sync_state, transfer_state) WHERE hide_attachment=0 AND (ck_sync_state=1 OR ck_sync_state=4) AND transfer_state=0;

CREATE TRIGGER set_message_has_attachments AFTER INSERT ON message_attachment_join BEGIN
  UPDATE message SET cache_has_attachments = 1 WHERE message.ROWID = new.message_id; END;
CREATE TRIGGER update_message_roomname_cache_insert AFTER INSERT ON chat_message_join BEGIN
  UPDATE message SET cache_roomnames = (SELECT group_concat(c.room_name) FROM chat c
    JOIN chat_message_join j ON c.ROWID = j.chat_id WHERE j.message_id = new.message_id) WHERE message.ROWID = new.message_id; END;
CREATE TRIGGER update_message_date_after_update_on_message AFTER UPDATE OF date ON message BEGIN
  UPDATE chat_message_join SET message_date = NEW.date WHERE message_id = NEW.ROWID AND message_date != NEW.date; END;
CREATE TRIGGER update_last_failed_message_date AFTER UPDATE OF error ON message
  WHEN NEW.error != 0 AND NEW.date > COALESCE((SELECT value FROM kvtable WHERE key = 'lastFailedMessageDate'), 0) BEGIN
  INSERT OR REPLACE INTO kvtable (key, value) VALUES ('lastFailedMessageDate', NEW.date);
  INSERT OR REPLACE INTO kvtable (key, value) VALUES ('lastFailedMessageRowID', NEW.rowID); END;
