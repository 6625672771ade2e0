# SPDX-License-Identifier: Apache-2.0
"""Every operation on the board: cases of the end-to-end tests as they are.

What they expect (output, status, calls, journal records) is the same there.
"""

# pylint: disable=unused-import
from test_attest import (  # noqa: F401
    test_a_large_chain_in_chunks, test_no_address,
    test_the_fields_of_the_records, test_the_whole_flow_before_1_3,
    test_the_whole_flow_with_1_3)
from test_attest_lookup import test_no_table_has_the_address  # noqa: F401
from test_backplanes import (  # noqa: F401
    test_no_backplanes, test_the_range_of_bays_ends_one_past_the_last)
from test_command_line import (  # noqa: F401
    test_help_prints_the_usage_text_to_the_byte,
    test_unknown_option_or_missing_argument_prints_usage)
from test_delete_clear_actions import (  # noqa: F401
    test_a_successful_delete_ends_in_the_handler,
    test_an_action_succeeds_without_a_word,
    test_clear_has_no_use_for_a_resource)
from test_endpoints import (  # noqa: F401
    test_the_largest_address_with_the_same_upper_bytes_is_taken)
from test_events import (  # noqa: F401
    test_a_severe_storage_event_takes_any_id,
    test_link_with_a_name_is_a_journal_record,
    test_link_without_a_name_is_an_audit_entry,
    test_temperature_18_is_critical_and_33_less_severe)
from test_firmware import (  # noqa: F401
    test_a_file_name_tells_the_part_number, test_an_update_fails,
    test_an_update_is_over, test_both_groups_are_listed,
    test_each_percentage_takes_the_place_of_the_line_above,
    test_the_simulated_service_updates_its_devices)
from test_mapper import (  # noqa: F401
    test_with_a_service_word_only_its_own_path_contributes)
from test_objects import (  # noqa: F401
    test_one_service_only, test_the_whole_listing)
from test_pcie_listing import (  # noqa: F401
    test_drives_and_volumes_under_a_storage_controller,
    test_slot_device_with_everything)
from test_show import (  # noqa: F401
    test_an_error_reply_names_device_and_service, test_arrays_at_both_levels,
    test_show_with_a_target_prints_the_whole_document)
from test_storage_listing import (  # noqa: F401
    test_a_silent_service_is_an_exception_after_the_timeout,
    test_drives_of_no_service_in_particular_ask_three_services,
    test_pool_without_remaining_percentage_prints_255,
    test_ten_thousand_drives_are_listed, test_verbose_adds_hours_and_bytes,
    test_volume_line_with_every_member)
from test_system_state import (  # noqa: F401
    test_an_absent_fpga_service_is_unknown)
from test_ttylog import (  # noqa: F401
    test_every_service_is_asked_with_address_zero,
    test_one_service_is_asked_for_one_device)
from test_update_wait import (  # noqa: F401
    operation, test_a_call_that_is_refused,
    test_the_signal_ends_the_run_whenever_it_comes,
    test_verbose_prints_the_refreshed_data)
from test_volumes import (  # noqa: F401
    test_a_request_comes_from_a_file,
    test_a_volume_is_created_from_named_drives,
    test_an_edit_comes_from_a_file,
    test_automatic_configuration_takes_every_member,
    test_editing_sends_the_resource_id_behind_the_address,
    test_several_volumes_share_the_drives,
    test_the_simulated_controller_keeps_what_is_changed)
